#include "PlistTestSupport.h"
#include "model/KeyedUnarchiver.h"
#include "support/ArchiveTestNode.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

class KeyedArchiveTest : public ::testing::Test {
protected:
    void SetUp() override { ArchiveTestNode::registerClass(); }
};

TEST_F(KeyedArchiveTest, CopiesKeepEveryValueKindBitAndByte) {
    auto tree = ArchiveTestNode::sampleTree();
    auto copy = copyWithArchiver(*tree);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->sameAs(*tree));
    EXPECT_NE(copy->child, tree->child); // a deep copy

    ArchiveTestNode node; // no colour, path, transform, image, child or children
    node.weight = std::nextafter(1.0f, 2.0f);
    node.precise = -1e300;
    node.name = "Stra\xc3\x9f"
                "e \xf0\x9f\x96\x8c";
    node.data = QByteArray(70000, '\0');
    (*node.data)[69999] = '\x7f';
    for (std::int64_t n : {std::int64_t(-1), std::numeric_limits<std::int64_t>::min(),
                           std::numeric_limits<std::int64_t>::max(), std::int64_t(1) << 40}) {
        node.number = n;
        EXPECT_TRUE(copyWithArchiver(node)->sameAs(node)) << n;
    }
    node.data = QByteArray();
    node.weight = std::numeric_limits<float>::quiet_NaN();
    node.precise = std::numeric_limits<double>::infinity();
    auto back = copyWithArchiver(node);
    EXPECT_EQ(back->data, QByteArray());
    EXPECT_TRUE(std::isnan(back->weight));
    EXPECT_EQ(back->precise, node.precise);
}

TEST_F(KeyedArchiveTest, TopLevelKeysHoldObjectsValuesAndNulls) {
    auto tree = ArchiveTestNode::sampleTree();
    KeyedArchiver archiver;
    archiver.encodeColor(std::nullopt, "color");
    archiver.encodeImage(nullptr, "image");
    archiver.encodeObject(nullptr, "object");
    archiver.encodeObject(tree.get(), "strokes");
    archiver.sequentialValues().writeInt32(-7);
    KeyedUnarchiver reader(archiver.finishEncoding());
    EXPECT_TRUE(reader.decodeObjectOfClass<ArchiveTestNode>("strokes")->sameAs(*tree));
    // The top-level values are not mixed up with those of the objects.
    EXPECT_EQ(reader.sequentialValues().readInt32(), -7);
    EXPECT_THROW(reader.sequentialValues().readUInt8(), ArchiveError);
    EXPECT_TRUE(reader.containsValueForKey("color"));
    EXPECT_FALSE(reader.decodeColor("color") || reader.decodeImage("image") ||
                 reader.decodeObject("object") || reader.decodeObjectArray("object"));
    EXPECT_FALSE(reader.containsValueForKey("absent"));
}

// libplist reads what Vimo writes, with the layout other readers expect.
TEST_F(KeyedArchiveTest, ArchiveIsAStandardKeyedPropertyList) {
    auto tree = ArchiveTestNode::sampleTree();
    tree->color = Color::calibrated(1, 0.5f, 0, 1);
    tree->path.emplace();
    tree->path->moveToPoint({1, 2});
    tree->path->closePath();
    const ArchivePlist plist(*tree);
    EXPECT_EQ(stringOf(plist_dict_get_item(plist.root, "$archiver")), "VimoKeyedArchiver");
    std::uint64_t version = 0;
    plist_get_uint_val(plist_dict_get_item(plist.root, "$version"), &version);
    EXPECT_EQ(version, 100000u);
    EXPECT_EQ(stringOf(plist_array_get_item(plist.objects, 0)), "$null");
    ASSERT_LT(plist.rootUid, plist_array_get_size(plist.objects));

    // One class record names the class of all its objects.
    plist_t classRecord = plist.recordOf("$class");
    EXPECT_EQ(stringOf(plist_dict_get_item(classRecord, "$classname")), "ArchiveTestNode");
    EXPECT_EQ(stringOf(plist_array_get_item(plist_dict_get_item(classRecord, "$classes"), 0)),
              "ArchiveTestNode");
    EXPECT_EQ(uidOf(plist_dict_get_item(plist.recordOf("child"), "$class")),
              uidOf(plist_dict_get_item(plist.record, "$class")));

    // Strings are objects of their own; numbers sit in the record; colours
    // and paths are records of packed big-endian numbers.
    EXPECT_EQ(stringOf(plist.recordOf("name")), "root \u00e9\u2713");
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(plist.record, "number")), PLIST_UINT);
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(plist.record, "$values")), PLIST_DATA);
    auto blob = [](plist_t dict, const char* key) {
        std::uint64_t n = 0;
        const char* p = plist_get_data_ptr(plist_dict_get_item(dict, key), &n);
        return QByteArray(p, qsizetype(n)).toHex();
    };
    EXPECT_EQ(blob(plist.recordOf("color"), "rgba"), "3f8000003f000000000000003f800000");
    EXPECT_EQ(blob(plist.recordOf("path"), "elements"), "003f8000004000000003");
}

TEST_F(KeyedArchiveTest, SharedReferencesReadAsOneObject) {
    ArchiveTestNode node;
    node.name = "shared";
    const ArchivePlist plist(node);
    plist_t top = plist_dict_get_item(plist.root, "$top");
    plist_dict_set_item(top, "again", plist_copy(plist_dict_get_item(top, "root")));
    KeyedUnarchiver reader(plist.bytes());
    auto a = reader.decodeObject("root");
    EXPECT_EQ(a, reader.decodeObject("again"));
    EXPECT_EQ(std::dynamic_pointer_cast<ArchiveTestNode>(a)->name, "shared");
}

class OtherNode : public Codable {
public:
    std::string archiveClassName() const override { return "OtherNode"; }
    void encodeWithCoder(KeyedArchiver&) const override {}
};

TEST_F(KeyedArchiveTest, WrongOrUnknownClassesAreRefused) {
    KeyedUnarchiver::registerClass("OtherNode",
                                   [](KeyedUnarchiver&) { return std::make_shared<OtherNode>(); });
    OtherNode other;
    ArchiveTestNode node;
    struct Stranger : OtherNode {
        std::string archiveClassName() const override { return "NeverRegistered"; }
    } stranger;
    KeyedArchiver archiver;
    archiver.encodeObject(&other, "other");
    archiver.encodeObject(&node, "node");
    archiver.encodeObject(&stranger, "stranger");
    archiver.encodeColor(Color::black(), "color");
    archiver.encodeInt(5, "number");
    KeyedUnarchiver reader(archiver.finishEncoding());
    EXPECT_THROW(reader.decodeObjectOfClass<ArchiveTestNode>("other"), ArchiveError);
    EXPECT_TRUE(reader.decodeObjectOfClass<OtherNode>("other"));
    // A value class or a plain number is not a colour, path or object.
    EXPECT_THROW(reader.decodeObject("color"), ArchiveError);
    EXPECT_THROW(reader.decodeBezierPath("color"), ArchiveError);
    EXPECT_THROW(reader.decodeColor("node"), ArchiveError);
    EXPECT_THROW(reader.decodeObject("number"), ArchiveError);
    EXPECT_THROW(reader.decodeString("number"), ArchiveError);
    // An object array under a key that holds a single object is "not an array".
    EXPECT_FALSE(reader.decodeObjectArray("node"));
    EXPECT_THAT([&] { reader.decodeObject("stranger"); },
                ::testing::ThrowsMessage<ArchiveError>(::testing::HasSubstr("NeverRegistered")));
}

} // namespace
