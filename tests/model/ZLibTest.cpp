#include "model/ZLib.h"
#include "model/VimoFileData.h"

#include <gtest/gtest.h>

#include <QtEndian>

namespace {

// Whole documents inflate back in the sample-file test.
TEST(ZLibTest, ImplausibleOrBrokenPayloadsAreRefusedWithAReason) {
    const QByteArray good = compressWithLength(QByteArray(5000, 'q'));
    EXPECT_EQ(qFromBigEndian<std::uint32_t>(good.constData()), 5000u); // the length leads
    EXPECT_LT(good.size(), 200);
    const auto withLength = [&](std::uint32_t n) {
        QByteArray data = good;
        qToBigEndian(n, data.data());
        return data;
    };
    QByteArray flipped = good;
    flipped[6] = char(flipped[6] ^ 0x40);
    // Lengths of 4 GiB - 1, beyond what zlib can reach from the data, and a
    // byte longer or shorter than the stream; a stream cut short or damaged.
    for (const QByteArray& data :
         {QByteArray("\0\0", 2), withLength(0xffffffff),
          withLength(std::uint32_t((good.size() - 4) * 1032 + 1)), withLength(5001),
          withLength(4999), good.left(good.size() - 3), flipped}) {
        std::string reason;
        EXPECT_FALSE(decompressWithLength(data, &reason));
        EXPECT_TRUE(reason.starts_with("the file is damaged")) << reason;
    }
}

// Damaged compressed files are refused by the document and hostile-archive
// tests; here, which content counts as compressed.
TEST(VimoFileDataTest, OnlyContentEndingInTheTrailerIsUnpacked) {
    const QByteArray archive("bplist00 and more");
    const QByteArray file = VimoFileData::fileDataFromArchive(archive);
    EXPECT_TRUE(file.endsWith("VIMO0100ZLIB"));
    EXPECT_EQ(VimoFileData::archiveFromFileData(file).archive(), archive);
    for (const QByteArray& content : {QByteArray(), QByteArray("bplist00 earlier format"),
                                      QByteArray("VIMO0100ZLI"), QByteArray("xVIMO0100ZLIBx")}) {
        const VimoFileData plain = VimoFileData::archiveFromFileData(content);
        EXPECT_TRUE(plain.isValid());
        EXPECT_FALSE(plain.wasCompressed());
        EXPECT_EQ(plain.archive(), content);
    }
}

} // namespace
