#include "support/GoldenImage.h"

#include "raster/Bitmap.h"

#include <QDir>
#include <QFileInfo>
#include <QImage>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

// Saved as a straight-alpha image, so that saving and loading keep every
// byte (even colour above alpha).
std::string savePng(const QImage& image, const QString& path) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    image.save(path, "PNG");
    return path.toStdString();
}

} // namespace

::testing::AssertionResult matchesGolden(const Bitmap& bitmap, const std::string& name,
                                         int tolerance) {
    const QString golden = QStringLiteral(VIMO_TEST_DATA_DIR "/golden/%1.png").arg(name.c_str());
    const QString output = QStringLiteral(VIMO_TEST_OUTPUT_DIR "/%1").arg(name.c_str());
    QImage actual(bitmap.width(), bitmap.height(), QImage::Format_RGBA8888);
    for (int row = 0; row < bitmap.height(); ++row)
        std::memcpy(actual.scanLine(row), bitmap.pixels() + std::size_t(row * bitmap.width()),
                    std::size_t(bitmap.width()) * 4);

    if (const char* update = std::getenv("VIMO_UPDATE_GOLDEN"); update && !std::strcmp(update, "1"))
        return ::testing::AssertionSuccess() << "golden rewritten: " << savePng(actual, golden);
    QImage expected;
    if (!expected.load(golden, "PNG") || expected.size() != actual.size())
        return ::testing::AssertionFailure()
               << "no golden image " << golden.toStdString() << " of the bitmap's size "
               << "(VIMO_UPDATE_GOLDEN=1 writes it); actual in "
               << savePng(actual, output + ".actual.png");
    expected = expected.convertToFormat(QImage::Format_RGBA8888);

    // The diff shows pixels beyond the tolerance red, within it yellow.
    QImage diff(actual.size(), QImage::Format_RGBA8888);
    long long beyond = 0;
    int worst = 0;
    for (int row = 0; row < actual.height(); ++row) {
        const uchar* a = actual.constScanLine(row);
        const uchar* g = expected.constScanLine(row);
        auto* d = reinterpret_cast<std::uint32_t*>(diff.scanLine(row));
        for (int x = 0; x < actual.width(); ++x, a += 4, g += 4) {
            int delta = 0;
            for (int i = 0; i < 4; ++i) delta = std::max(delta, std::abs(int(a[i]) - int(g[i])));
            worst = std::max(worst, delta);
            beyond += delta > tolerance;
            d[x] = delta > tolerance ? RED : delta > 0 ? 0xFF00FFFFu : WHITE;
        }
    }
    if (beyond == 0) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << beyond << " pixel(s) of " << name << " differ by more than " << tolerance
           << " (largest difference " << worst << "); see "
           << savePng(actual, output + ".actual.png") << " and "
           << savePng(diff, output + ".diff.png");
}
