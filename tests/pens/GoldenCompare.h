#pragma once

#include "raster/Bitmap.h"

#include <QDir>
#include <QImage>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

// Compares a bitmap with tests/data/pens/golden/<name>.png. A missing golden
// image (or VIMO_UPDATE_GOLDEN=1) writes the current picture instead, to be
// looked at and committed. Small rounding differences are tolerated: at most
// a difference of 3 per channel, beyond that on at most 0.2 % of the pixels.
inline void expectMatchesGolden(const Bitmap& bitmap, const std::string& name) {
    const QString golden = QString(VIMO_TEST_DATA_DIR "/pens/golden/%1.png").arg(name.c_str());
    const QImage actual = bitmap.image().convertToFormat(QImage::Format_RGBA8888);
    const char* update = std::getenv("VIMO_UPDATE_GOLDEN");
    if ((update && *update == '1') || !QImage(golden).width()) {
        ASSERT_TRUE(actual.save(golden)) << golden.toStdString();
        GTEST_SKIP() << "wrote " << golden.toStdString();
    }
    const QImage expected = QImage(golden).convertToFormat(QImage::Format_RGBA8888);
    ASSERT_EQ(expected.size(), actual.size()) << name;
    long off = 0;
    int worst = 0;
    for (int y = 0; y < actual.height(); y++) {
        const uchar* a = actual.constScanLine(y);
        const uchar* e = expected.constScanLine(y);
        for (int i = 0; i < actual.width() * 4; i++) {
            const int d = std::abs(int(a[i]) - int(e[i]));
            worst = std::max(worst, d);
            if (d > 3) off++;
        }
    }
    const long allowed = long(actual.width()) * actual.height() * 4 / 500;
    if (off > allowed) {
        QDir().mkpath(VIMO_TEST_OUTPUT_DIR);
        actual.save(QString(VIMO_TEST_OUTPUT_DIR "/%1.png").arg(name.c_str()));
    }
    EXPECT_LE(off, allowed) << name << ": " << off << " channels differ, worst by " << worst
                            << "; the picture is in " VIMO_TEST_OUTPUT_DIR;
}
