#include "PlistTestSupport.h"
#include "model/KeyedUnarchiver.h"
#include "model/VimoFileData.h"
#include "support/ArchiveTestNode.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QtEndian>

#include <zlib.h>

#include <cstdlib>
#include <random>

// Every damaged or hostile input must end in an ArchiveError (or an invalid
// file) with a reason, never a crash, a hang or unbounded memory.

namespace {

QFile sample(const char* name) {
    return QFile(QString(VIMO_TEST_DATA_DIR "/archive/") + name);
}

QByteArray readSample(const char* name) {
    QFile file = sample(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Decodes the whole archive; returns the error message, empty on success.
std::string readArchive(const QByteArray& archive) {
    try {
        KeyedUnarchiver reader(archive);
        reader.decodeObject("root");
        return {};
    } catch (const ArchiveError& e) {
        EXPECT_NE(std::string(e.what()), "");
        return e.what();
    }
}

std::string readFile(const QByteArray& content) {
    const VimoFileData file = VimoFileData::archiveFromFileData(content);
    return file.isValid() ? readArchive(file.archive()) : file.errorReason();
}

QByteArray ref(std::uint32_t index) {
    char b[4];
    qToBigEndian(index, b);
    return QByteArray(b, 4);
}

// A binary property list assembled from raw objects (references inside
// them are refSize bytes wide), for structures no writer would make.
QByteArray bplist(const std::vector<QByteArray>& objects, std::uint64_t root = 0, int refSize = 4) {
    QByteArray out("bplist00"), table;
    for (const QByteArray& o : objects) {
        table += ref(std::uint32_t(out.size()));
        out += o;
    }
    const auto tableOffset = std::uint64_t(out.size());
    out += table;
    QByteArray trailer(32, '\0');
    trailer[6] = 4;
    trailer[7] = char(refSize);
    qToBigEndian(std::uint64_t(objects.size()), trailer.data() + 8);
    qToBigEndian(root, trailer.data() + 16);
    qToBigEndian(tableOffset, trailer.data() + 24);
    return out + trailer;
}

// An array or data marker with its count (long counts follow as an integer).
QByteArray marker(unsigned type, std::uint32_t count) {
    if (count < 15) return QByteArray(1, char(type << 4 | count));
    return QByteArray(1, char(type << 4 | 0xF)) + QByteArray("\x12", 1) + ref(count);
}

class HostileArchiveTest : public ::testing::Test {
protected:
    void SetUp() override { ArchiveTestNode::registerClass(); }
};

// The samples were written by this code; they must keep reading as the tree
// they were made from. VIMO_WRITE_ARCHIVE_SAMPLES=1 rewrites them.
TEST_F(HostileArchiveTest, SamplesStillReadAsTheirTree) {
    const auto tree = ArchiveTestNode::sampleTree();
    if (std::getenv("VIMO_WRITE_ARCHIVE_SAMPLES")) {
        // With document-style top-level keys, a seed for the fuzz target.
        KeyedArchiver top;
        top.encodeColor(Color::white(), "background_color");
        top.encodeObjectArray(std::vector<const Codable*>{tree->child.get(), tree.get()},
                              "strokes");
        top.encodeString("{{40, 60}, {800, 600}}", "window");
        top.encodeAffineTransform(&*tree->transform, "view_transform");
        top.encodeData(QByteArray("\x89PNG", 4), "png");
        const QByteArray archive = KeyedArchiver::archivedDataWithRootObject(*tree);
        for (const auto& [name, data] :
             {std::pair("tree.bin", archive),
              std::pair("tree.vimo", VimoFileData::fileDataFromArchive(archive)),
              std::pair("document.bin", top.finishEncoding())}) {
            QFile file = sample(name);
            ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
        }
    }
    EXPECT_EQ(readArchive(readSample("document.bin")), "");
    const VimoFileData file = VimoFileData::archiveFromFileData(readSample("tree.vimo"));
    ASSERT_TRUE(file.isValid());
    EXPECT_EQ(file.archive(), readSample("tree.bin"));
    auto root = std::dynamic_pointer_cast<ArchiveTestNode>(
        KeyedUnarchiver::unarchiveObjectWithData(file.archive()));
    ASSERT_TRUE(root);
    EXPECT_TRUE(root->sameAs(*tree));
}

TEST_F(HostileArchiveTest, EveryTruncationIsRefused) {
    const QByteArray archive = readSample("tree.bin");
    const QByteArray file = readSample("tree.vimo");
    ASSERT_GT(archive.size(), 500);
    for (qsizetype n = 0; n < archive.size(); ++n)
        EXPECT_NE(readArchive(archive.left(n)), "") << "archive cut at " << n;
    // Files cut anywhere, and payloads cut anywhere but still carrying the trailer.
    const QByteArray payload = file.left(file.size() - 12);
    for (qsizetype n = 0; n < file.size(); ++n) {
        EXPECT_NE(readFile(file.left(n)), "") << "file cut at " << n;
        if (n < payload.size()) {
            EXPECT_NE(readFile(payload.left(n) + "VIMO0100ZLIB"), "") << "payload cut at " << n;
        }
    }
}

TEST_F(HostileArchiveTest, RandomCorruptionNeverCrashes) {
    const QByteArray archive = readSample("tree.bin");
    std::mt19937 rng(20240611);
    int refused = 0;
    for (int round = 0; round < 4000; ++round) {
        QByteArray damaged = archive;
        const int edits = 1 + int(rng() % 6);
        for (int e = 0; e < edits; ++e) {
            const auto at = qsizetype(rng() % std::uint32_t(damaged.size()));
            const unsigned kind = rng() % 4;
            if (kind < 2)
                damaged[at] = char(kind == 0 ? rng() : damaged[at] ^ (1 << (rng() % 8)));
            else if (kind == 2)
                damaged.remove(at, 1 + qsizetype(rng() % 4));
            else
                damaged.insert(at, char(rng()));
        }
        // Half of the rounds go through the compressed container.
        const std::string error =
            round % 2 ? readArchive(damaged) : readFile(VimoFileData::fileDataFromArchive(damaged));
        refused += !error.empty();
    }
    // Most damage is noticed (some lands in values, which stay readable).
    EXPECT_GT(refused, 1000);
}

TEST_F(HostileArchiveTest, DeepSharedAndCyclicContainersAreRefusedBeforeParsing) {
    std::vector<QByteArray> nested;
    for (std::uint32_t i = 0; i < 100000; ++i) nested.push_back(marker(0xA, 1) + ref(i + 1));
    nested.push_back(marker(0xA, 0));
    EXPECT_NE(readArchive(bplist(nested)).find("nested too deeply"), std::string::npos);
    // An array holding itself.
    EXPECT_NE(readArchive(bplist({marker(0xA, 1) + ref(0)})), "");
    // 60 levels of arrays each holding the next twice: 2^60 nodes once expanded.
    std::vector<QByteArray> laughs;
    for (std::uint32_t i = 0; i < 60; ++i)
        laughs.push_back(marker(0xA, 2) + ref(i + 1) + ref(i + 1));
    laughs.push_back(marker(0xA, 0));
    EXPECT_NE(readArchive(bplist(laughs)).find("contained twice"), std::string::npos);
    // One 60 kB data referenced 30 000 times: 1.8 GB once expanded.
    QByteArray list = marker(0xA, 30000);
    for (int i = 0; i < 30000; ++i) list += ref(1);
    const std::string error =
        readArchive(bplist({list, marker(0x4, 60000) + QByteArray(60000, 'd')}));
    EXPECT_NE(error.find("too much data"), std::string::npos) << error;
}

TEST_F(HostileArchiveTest, MalformedPropertyListsAreRefused) {
    const QByteArray leaf = marker(0x4, 3) + "abc";
    const std::vector<std::pair<const char*, QByteArray>> cases = {
        {"reference out of range", bplist({marker(0xA, 1) + ref(7), leaf})},
        {"root out of range", bplist({leaf}, 3, 4)},
        {"data past its end", bplist({marker(0x4, 14) + "abc"})},
        {"huge count", bplist({QByteArray("\x4f\x13\x7f\xff\xff\xff\xff\xff\xff\xff", 10)})},
        {"key not a string", bplist({marker(0xD, 1) + ref(1) + ref(1), leaf})},
        {"unknown marker", bplist({QByteArray("\x70", 1)})},
        {"null marker", bplist({QByteArray("\x00", 1)})},
        {"odd real", bplist({QByteArray("\x21\x00\x00", 3)})},
        {"reference width 0", bplist({leaf}, 0, 0)},
    };
    for (const auto& [what, bytes] : cases) {
        const std::string error = readArchive(bytes);
        EXPECT_TRUE(error.starts_with("the file is damaged")) << what << ": " << error;
    }
    // Not a property list at all, or a property list of someone else.
    for (const QByteArray& alien : {QByteArray(), QByteArray("hello"), QByteArray(100, 'b'),
                                    QByteArray("<?xml version=\"1.0\"?><plist><dict/></plist>")})
        EXPECT_EQ(readArchive(alien), "not a Vimo file");
    const Plist other(plist_new_dict());
    plist_dict_set_item(other.root, "$archiver", plist_new_string("SomeoneElse"));
    EXPECT_EQ(readArchive(other.bytes()), "not a Vimo file");
}

TEST_F(HostileArchiveTest, BrokenObjectGraphsAreRefused) {
    const auto tree = ArchiveTestNode::sampleTree();
    ASSERT_EQ(readArchive(ArchivePlist(*tree).bytes()), "");
    auto refused = [](const std::string& error) {
        return error.starts_with("the file is damaged") || error == "not a Vimo file";
    };
    // Values replaced in the root's record (of null) or in the record under of.
    const std::uint64_t self = ArchivePlist(*tree).rootUid;
    const std::tuple<const char*, const char*, plist_t> values[] = {
        {nullptr, "child", plist_new_uid(self)},  // the object holds itself
        {nullptr, "child", plist_new_uid(99999)}, // past the object table
        {nullptr, "child", plist_new_uint(3)},    // a number for an object
        {nullptr, "number", plist_new_string("7")},
        {nullptr, "$class", plist_new_uint(1)},                // not a reference
        {nullptr, "$class", plist_new_uid(self)},              // a class record without a name
        {"color", "rgba", plist_new_data("123456789012", 12)}, // three numbers
        {"color", "space", plist_new_uint(9)},
        {"path", "elements", plist_new_data("\x09", 1)},         // an unknown element
        {"path", "elements", plist_new_data("\x00\x01\x02", 3)}, // cut in mid-element
        {"path", "winding_rule", plist_new_uint(2)},
        {"transform", "matrix", plist_new_data("01234567890123456789", 20)}, // five numbers
        {"image", "png", plist_new_data("\x89PNG junk", 9)},
        {nullptr, "$values", plist_new_data("\x00\x00\x00\x00\x09", 5)}, // fewer than counted
        {nullptr, "$values", plist_new_string("x")},
    };
    for (const auto& [of, key, value] : values) {
        const ArchivePlist surgery(*tree);
        surgery.set(of, key, value);
        const std::string error = readArchive(surgery.bytes());
        EXPECT_TRUE(refused(error)) << (of ? of : "root") << " " << key << ": " << error;
    }
    using S = ArchivePlist;
    const std::pair<const char*, std::function<void(S&)>> edits[] = {
        {"no null object first",
         [](S& s) { plist_array_set_item(s.objects, plist_new_string("x"), 0); }},
        {"no object table", [](S& s) { plist_dict_remove_item(s.root, "$objects"); }},
        {"array without its list",
         [](S& s) { plist_dict_remove_item(s.recordOf("children"), "objects"); }},
        {"array listing a colour",
         [](S& s) {
             plist_t list = plist_dict_get_item(s.recordOf("children"), "objects");
             plist_array_set_item(list, plist_copy(plist_dict_get_item(s.record, "color")), 0);
         }},
    };
    for (const auto& [what, edit] : edits) {
        ArchivePlist surgery(*tree);
        edit(surgery);
        const std::string error = readArchive(surgery.bytes());
        EXPECT_TRUE(refused(error)) << what << ": " << error;
    }
}

TEST_F(HostileArchiveTest, DeepObjectChainsAreRefused) {
    auto head = std::make_shared<ArchiveTestNode>();
    auto node = head;
    for (int i = 0; i < 400; ++i) node = node->child = std::make_shared<ArchiveTestNode>();
    const std::string error = readArchive(KeyedArchiver::archivedDataWithRootObject(*head));
    EXPECT_NE(error.find("nested too deeply"), std::string::npos) << error;
    // A chain of 100 is fine.
    head->child->child->child->child = nullptr;
    EXPECT_EQ(readArchive(KeyedArchiver::archivedDataWithRootObject(*head)), "");
}

TEST_F(HostileArchiveTest, HugeImagesAreRefusedBeforeDecoding) {
    // A PNG header declaring 100 000 x 100 000 pixels, without the pixels.
    ArchiveTestNode node;
    node.image = QImage(1, 1, QImage::Format_ARGB32);
    const ArchivePlist surgery(node);
    QByteArray png("\x89PNG\r\n\x1a\n\0\0\0\x0dIHDR\0\x01\x86\xa0\0\x01\x86\xa0\x08\x06\0\0\0", 29);
    char crc[4];
    qToBigEndian(std::uint32_t(crc32(0, reinterpret_cast<const Bytef*>(png.constData() + 12), 17)),
                 crc);
    png += QByteArray(crc, 4);
    surgery.set("image", "png", plist_new_data(png.constData(), std::uint64_t(png.size())));
    EXPECT_TRUE(readArchive(surgery.bytes()).starts_with("the file is damaged"));
}

} // namespace
