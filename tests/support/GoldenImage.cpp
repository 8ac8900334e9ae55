#include "support/GoldenImage.h"

#include "raster/Bitmap.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// The bitmap's bytes as a straight-alpha image, so that saving and loading
// keep every byte (even colour above alpha).
QImage rawImage(const Bitmap& bitmap) {
    QImage image(bitmap.width(), bitmap.height(), QImage::Format_RGBA8888);
    for (int row = 0; row < bitmap.height(); ++row)
        std::memcpy(image.scanLine(row),
                    bitmap.pixels() + std::size_t(row) * std::size_t(bitmap.width()),
                    std::size_t(bitmap.width()) * 4);
    return image;
}

std::string savePng(const QImage& image, const QString& path) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    image.save(path, "PNG");
    return path.toStdString();
}

} // namespace

::testing::AssertionResult matchesGolden(const Bitmap& bitmap, const std::string& name,
                                         int tolerance) {
    const QString goldenPath =
        QStringLiteral(VIMO_TEST_DATA_DIR "/golden/%1.png").arg(QString::fromStdString(name));
    const QString outputBase =
        QStringLiteral(VIMO_TEST_OUTPUT_DIR "/%1").arg(QString::fromStdString(name));
    const QImage actual = rawImage(bitmap);

    if (const char* update = std::getenv("VIMO_UPDATE_GOLDEN"); update && !std::strcmp(update, "1"))
        return ::testing::AssertionSuccess() << "golden rewritten: " << savePng(actual, goldenPath);

    QImage golden;
    if (!golden.load(goldenPath, "PNG") || golden.size() != actual.size())
        return ::testing::AssertionFailure()
               << "no golden image " << goldenPath.toStdString() << " of the bitmap's size "
               << "(VIMO_UPDATE_GOLDEN=1 writes it); actual in "
               << savePng(actual, outputBase + ".actual.png");
    golden = golden.convertToFormat(QImage::Format_RGBA8888);

    QImage diff(actual.size(), QImage::Format_RGBA8888);
    long long beyond = 0, within = 0;
    int worst = 0, firstX = -1, firstY = -1;
    for (int row = 0; row < actual.height(); ++row) {
        const uchar* a = actual.constScanLine(row);
        const uchar* g = golden.constScanLine(row);
        auto* d = reinterpret_cast<std::uint32_t*>(diff.scanLine(row));
        for (int x = 0; x < actual.width(); ++x, a += 4, g += 4) {
            int delta = 0;
            for (int i = 0; i < 4; ++i) delta = std::max(delta, std::abs(int(a[i]) - int(g[i])));
            worst = std::max(worst, delta);
            const uchar shade = uchar(255 - a[3] / 4);
            d[x] = delta > tolerance ? RED
                   : delta > 0       ? 0xFF00FFFFu
                                     : (0xFF000000u | shade * 0x010101u);
            if (delta > tolerance && beyond++ == 0) {
                firstX = x;
                firstY = actual.height() - 1 - row; // bitmap coordinates, y up
            }
            within += delta > 0 && delta <= tolerance;
        }
    }
    if (beyond == 0) return ::testing::AssertionSuccess();
    savePng(diff, outputBase + ".diff.png");
    return ::testing::AssertionFailure()
           << beyond << " pixel(s) of " << name << " differ by more than " << tolerance
           << " (largest difference " << worst << ", first at bitmap (" << firstX << ", " << firstY
           << "); " << within << " more within tolerance); see "
           << savePng(actual, outputBase + ".actual.png") << " and " << outputBase.toStdString()
           << ".diff.png";
}
