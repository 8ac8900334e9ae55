#include "model/ZLib.h"
#include "model/VimoFileData.h"

#include <gtest/gtest.h>

#include <QtEndian>

#include <random>

namespace {

QByteArray randomBytes(int n, unsigned seed) {
    std::mt19937 rng(seed);
    QByteArray out(n, Qt::Uninitialized);
    for (char& c : out) c = char(rng());
    return out;
}

TEST(ZLibTest, CompressedDataStartsWithBigEndianLengthAndInflatesBack) {
    // Whole documents inflate back in the sample-file test.
    for (const QByteArray& input : {QByteArray(), QByteArray(1 << 20, 'x')}) {
        const QByteArray packed = compressWithLength(input);
        ASSERT_GE(packed.size(), 4);
        EXPECT_EQ(qFromBigEndian<std::uint32_t>(packed.constData()), std::uint32_t(input.size()));
        EXPECT_EQ(decompressWithLength(packed), input);
    }
    EXPECT_LT(compressWithLength(QByteArray(1 << 20, 'x')).size(), 5000); // really compressed
}

TEST(ZLibTest, ImplausibleOrBrokenPayloadsAreRefusedWithAReason) {
    const QByteArray good = compressWithLength(QByteArray(5000, 'q'));
    auto refused = [](const QByteArray& data) {
        std::string reason;
        const bool ok = decompressWithLength(data, &reason).has_value();
        return !ok && reason.starts_with("the file is damaged");
    };
    EXPECT_TRUE(refused(QByteArray("\0\0", 2)));
    // A declared length of 4 GiB - 1, and one that zlib cannot reach from the data.
    QByteArray huge = good;
    qToBigEndian(std::uint32_t(0xffffffff), huge.data());
    EXPECT_TRUE(refused(huge));
    QByteArray tooLarge = good;
    qToBigEndian(std::uint32_t((good.size() - 4) * 1032 + 1), tooLarge.data());
    EXPECT_TRUE(refused(tooLarge));
    // Declared a byte longer or shorter than the stream inflates to.
    QByteArray longer = good, shorter = good;
    qToBigEndian(std::uint32_t(5001), longer.data());
    qToBigEndian(std::uint32_t(4999), shorter.data());
    EXPECT_TRUE(refused(longer));
    EXPECT_TRUE(refused(shorter));
    // A stream cut short or bit-flipped.
    EXPECT_TRUE(refused(good.left(good.size() - 3)));
    QByteArray flipped = good;
    flipped[6] = char(flipped[6] ^ 0x40);
    EXPECT_TRUE(refused(flipped));
}

// Damaged compressed files are refused by the document and hostile-archive
// tests; here, which content counts as compressed.
TEST(VimoFileDataTest, OnlyContentEndingInTheTrailerIsUnpacked) {
    const QByteArray archive = randomBytes(3000, 2) + QByteArray(3000, 'z');
    const QByteArray file = VimoFileData::fileDataFromArchive(archive);
    EXPECT_TRUE(file.endsWith("VIMO0100ZLIB"));
    const VimoFileData read = VimoFileData::archiveFromFileData(file);
    ASSERT_TRUE(read.isValid());
    EXPECT_EQ(read.archive(), archive);
    for (const QByteArray& content : {QByteArray(), QByteArray("bplist00 earlier format"),
                                      QByteArray("VIMO0100ZLI"), QByteArray("xVIMO0100ZLIBx")}) {
        const VimoFileData plain = VimoFileData::archiveFromFileData(content);
        EXPECT_TRUE(plain.isValid());
        EXPECT_FALSE(plain.wasCompressed());
        EXPECT_EQ(plain.archive(), content);
    }
}

} // namespace
