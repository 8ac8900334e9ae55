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

bool savePng(const QImage& image, const QString& path) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    return image.save(path, "PNG");
}

int channelDifference(const uchar* a, const uchar* b) {
    int most = 0;
    for (int i = 0; i < 4; ++i) most = std::max(most, std::abs(int(a[i]) - int(b[i])));
    return most;
}

} // namespace

::testing::AssertionResult matchesGolden(const Bitmap& bitmap, const std::string& name,
                                         int tolerance) {
    const QString goldenPath =
        QStringLiteral(VIMO_TEST_DATA_DIR "/golden/%1.png").arg(QString::fromStdString(name));
    const QString outputBase =
        QStringLiteral(VIMO_TEST_OUTPUT_DIR "/%1").arg(QString::fromStdString(name));
    const QImage actual = rawImage(bitmap);

    if (const char* update = std::getenv("VIMO_UPDATE_GOLDEN");
        update && std::strcmp(update, "1") == 0) {
        if (!savePng(actual, goldenPath))
            return ::testing::AssertionFailure()
                   << "cannot write golden " << goldenPath.toStdString();
        return ::testing::AssertionSuccess() << "golden " << name << " rewritten";
    }

    QImage golden;
    if (!golden.load(goldenPath, "PNG")) {
        savePng(actual, outputBase + ".actual.png");
        return ::testing::AssertionFailure()
               << "no golden image " << goldenPath.toStdString()
               << " (run with VIMO_UPDATE_GOLDEN=1 to create it; actual written to "
               << (outputBase + ".actual.png").toStdString() << ")";
    }
    golden = golden.convertToFormat(QImage::Format_RGBA8888);
    if (golden.size() != actual.size()) {
        savePng(actual, outputBase + ".actual.png");
        return ::testing::AssertionFailure()
               << "golden " << name << " is " << golden.width() << "x" << golden.height()
               << ", bitmap is " << actual.width() << "x" << actual.height();
    }

    QImage diff(actual.size(), QImage::Format_RGBA8888);
    long long beyond = 0, within = 0;
    int worst = 0, firstX = -1, firstY = -1;
    for (int row = 0; row < actual.height(); ++row) {
        const uchar* a = actual.constScanLine(row);
        const uchar* g = golden.constScanLine(row);
        uchar* d = diff.scanLine(row);
        for (int x = 0; x < actual.width(); ++x, a += 4, g += 4, d += 4) {
            const int delta = channelDifference(a, g);
            worst = std::max(worst, delta);
            uchar mark[4];
            if (delta > tolerance) {
                if (beyond++ == 0) {
                    firstX = x;
                    firstY = actual.height() - 1 - row; // bitmap coordinates, y up
                }
                const uchar red[4] = {255, 0, 0, 255};
                std::memcpy(mark, red, 4);
            } else if (delta > 0) {
                ++within;
                const uchar yellow[4] = {255, 255, 0, 255};
                std::memcpy(mark, yellow, 4);
            } else {
                // Identical pixels as a faint grey of their coverage.
                const uchar shade = uchar(255 - a[3] / 4);
                const uchar grey[4] = {shade, shade, shade, 255};
                std::memcpy(mark, grey, 4);
            }
            std::memcpy(d, mark, 4);
        }
    }
    if (beyond == 0) return ::testing::AssertionSuccess();

    savePng(actual, outputBase + ".actual.png");
    savePng(diff, outputBase + ".diff.png");
    return ::testing::AssertionFailure()
           << beyond << " pixel(s) of " << name << " differ by more than " << tolerance
           << " (largest difference " << worst << ", first at bitmap (" << firstX << ", " << firstY
           << "); " << within << " more within tolerance); see "
           << (outputBase + ".actual.png").toStdString() << " and "
           << (outputBase + ".diff.png").toStdString();
}
