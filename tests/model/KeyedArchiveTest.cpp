#include "model/KeyedArchiver.h"
#include "model/KeyedUnarchiver.h"
#include "support/ArchiveTestNode.h"

#include <gtest/gtest.h>
#include <plist/plist.h>

#include <cmath>
#include <limits>

namespace {

class KeyedArchiveTest : public ::testing::Test {
protected:
    void SetUp() override { ArchiveTestNode::registerClass(); }

    static std::shared_ptr<ArchiveTestNode> roundTrip(const ArchiveTestNode& node) {
        return std::dynamic_pointer_cast<ArchiveTestNode>(KeyedUnarchiver::unarchiveObjectWithData(
            KeyedArchiver::archivedDataWithRootObject(node)));
    }
};

// A parsed property list freed at the end of the scope.
struct Plist {
    plist_t root = nullptr;
    explicit Plist(const QByteArray& bytes) {
        plist_from_bin(bytes.constData(), std::uint32_t(bytes.size()), &root);
    }
    ~Plist() { plist_free(root); }
};

std::string stringOf(plist_t node) {
    if (!node || plist_get_node_type(node) != PLIST_STRING) return "<not a string>";
    std::uint64_t n = 0;
    const char* s = plist_get_string_ptr(node, &n);
    return std::string(s, n);
}

std::uint64_t uidOf(plist_t node) {
    std::uint64_t uid = ~std::uint64_t(0);
    if (node && plist_get_node_type(node) == PLIST_UID) plist_get_uid_val(node, &uid);
    return uid;
}

TEST_F(KeyedArchiveTest, TreeOfEveryValueClassSurvivesRoundTrip) {
    auto tree = ArchiveTestNode::sampleTree();
    auto copy = roundTrip(*tree);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->sameAs(*tree));
}

TEST_F(KeyedArchiveTest, ValuesKeepEveryBitAndByte) {
    ArchiveTestNode node;
    node.weight = std::nextafter(1.0f, 2.0f);
    node.precise = -1e300;
    for (std::int64_t n :
         {std::int64_t(0), std::int64_t(-1), std::numeric_limits<std::int64_t>::min(),
          std::numeric_limits<std::int64_t>::max(), std::int64_t(1) << 40}) {
        node.number = n;
        EXPECT_TRUE(roundTrip(node)->sameAs(node)) << n;
    }
    // Empty strings and data, and long or non-ASCII ones.
    node.data = QByteArray();
    EXPECT_TRUE(roundTrip(node)->sameAs(node));
    node.name = "Stra\xc3\x9f"
                "e \xf0\x9f\x96\x8c";
    node.data = QByteArray(70000, '\0');
    (*node.data)[69999] = '\x7f';
    EXPECT_TRUE(roundTrip(node)->sameAs(node));

    ArchiveTestNode nan;
    nan.weight = std::numeric_limits<float>::quiet_NaN();
    nan.precise = std::numeric_limits<double>::infinity();
    auto back = roundTrip(nan);
    EXPECT_TRUE(std::isnan(back->weight));
    EXPECT_EQ(back->precise, nan.precise);
}

TEST_F(KeyedArchiveTest, NullValuesAndMissingKeysReadAsNothing) {
    ArchiveTestNode node; // no colour, path, transform, image, child or children
    EXPECT_TRUE(roundTrip(node)->sameAs(node));

    KeyedArchiver archiver;
    archiver.encodeColor(std::nullopt, "color");
    archiver.encodeImage(nullptr, "image");
    archiver.encodeObject(nullptr, "object");
    KeyedUnarchiver reader(archiver.finishEncoding());
    EXPECT_TRUE(reader.containsValueForKey("color"));
    EXPECT_FALSE(reader.decodeColor("color"));
    EXPECT_FALSE(reader.decodeImage("image"));
    EXPECT_FALSE(reader.decodeObject("object"));
    EXPECT_FALSE(reader.decodeObjectArray("object"));
    EXPECT_FALSE(reader.containsValueForKey("absent"));
    EXPECT_EQ(reader.decodeInt("absent"), 0);
    EXPECT_EQ(reader.decodeFloat("absent"), 0.0f);
    EXPECT_FALSE(reader.decodeBool("absent"));
    EXPECT_FALSE(reader.decodeString("absent"));
    EXPECT_FALSE(reader.decodeObjectArray("absent"));
}

TEST_F(KeyedArchiveTest, TopLevelKeysAndValuesMixWithObjects) {
    auto tree = ArchiveTestNode::sampleTree();
    KeyedArchiver archiver;
    archiver.encodeColor(Color::calibrated(1, 1, 1), "background_color");
    archiver.encodeObject(tree.get(), "strokes");
    archiver.encodeString("{{10, 20}, {300, 400}}", "window");
    archiver.sequentialValues().writeInt32(-7);
    KeyedUnarchiver reader(archiver.finishEncoding());
    EXPECT_EQ(reader.decodeColor("background_color"), Color::calibrated(1, 1, 1));
    EXPECT_TRUE(reader.decodeObjectOfClass<ArchiveTestNode>("strokes")->sameAs(*tree));
    EXPECT_EQ(reader.decodeString("window"), "{{10, 20}, {300, 400}}");
    // The top-level values are not mixed up with those of the objects.
    EXPECT_EQ(reader.sequentialValues().readInt32(), -7);
    EXPECT_THROW(reader.sequentialValues().readUInt8(), ArchiveError);
}

TEST_F(KeyedArchiveTest, ArchiveIsAStandardKeyedPropertyList) {
    const QByteArray bytes =
        KeyedArchiver::archivedDataWithRootObject(*ArchiveTestNode::sampleTree());
    ASSERT_TRUE(bytes.startsWith("bplist00"));
    Plist plist(bytes);
    ASSERT_TRUE(plist.root);
    ASSERT_EQ(plist_get_node_type(plist.root), PLIST_DICT);
    EXPECT_EQ(stringOf(plist_dict_get_item(plist.root, "$archiver")), "VimoKeyedArchiver");
    std::uint64_t version = 0;
    plist_get_uint_val(plist_dict_get_item(plist.root, "$version"), &version);
    EXPECT_EQ(version, 100000u);

    plist_t objects = plist_dict_get_item(plist.root, "$objects");
    ASSERT_EQ(plist_get_node_type(objects), PLIST_ARRAY);
    EXPECT_EQ(stringOf(plist_array_get_item(objects, 0)), "$null");
    const std::uint64_t rootUid =
        uidOf(plist_dict_get_item(plist_dict_get_item(plist.root, "$top"), "root"));
    ASSERT_LT(rootUid, plist_array_get_size(objects));

    // The root's record names its class through a class record.
    plist_t record = plist_array_get_item(objects, std::uint32_t(rootUid));
    const std::uint64_t classUid = uidOf(plist_dict_get_item(record, "$class"));
    plist_t classRecord = plist_array_get_item(objects, std::uint32_t(classUid));
    EXPECT_EQ(stringOf(plist_dict_get_item(classRecord, "$classname")), "ArchiveTestNode");
    EXPECT_EQ(stringOf(plist_array_get_item(plist_dict_get_item(classRecord, "$classes"), 0)),
              "ArchiveTestNode");
    // Strings are objects of their own; numbers sit in the record.
    const std::uint64_t nameUid = uidOf(plist_dict_get_item(record, "name"));
    EXPECT_EQ(stringOf(plist_array_get_item(objects, std::uint32_t(nameUid))), "root \u00e9\u2713");
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(record, "number")), PLIST_UINT);
    EXPECT_EQ(plist_get_node_type(plist_dict_get_item(record, "$values")), PLIST_DATA);

    // Each class has one record however many objects use it.
    int testNodeClassRecords = 0;
    for (std::uint32_t i = 0; i < plist_array_get_size(objects); ++i) {
        plist_t o = plist_array_get_item(objects, i);
        if (plist_get_node_type(o) == PLIST_DICT &&
            stringOf(plist_dict_get_item(o, "$classname")) == "ArchiveTestNode")
            ++testNodeClassRecords;
    }
    EXPECT_EQ(testNodeClassRecords, 1);
}

TEST_F(KeyedArchiveTest, ValueClassesUseTheDocumentedLayout) {
    BezierPath path;
    path.moveToPoint({1, 2});
    path.closePath();
    KeyedArchiver archiver;
    archiver.encodeColor(Color::calibrated(1, 0.5f, 0, 1), "color");
    archiver.encodeBezierPath(&path, "path");
    Plist plist(archiver.finishEncoding());
    plist_t objects = plist_dict_get_item(plist.root, "$objects");
    plist_t top = plist_dict_get_item(plist.root, "$top");
    auto record = [&](const char* key) {
        return plist_array_get_item(objects, std::uint32_t(uidOf(plist_dict_get_item(top, key))));
    };
    auto blob = [](plist_t dict, const char* key) {
        std::uint64_t n = 0;
        const char* p = plist_get_data_ptr(plist_dict_get_item(dict, key), &n);
        return QByteArray(p, qsizetype(n));
    };
    EXPECT_EQ(blob(record("color"), "rgba").toHex(),
              QByteArray("3f8000003f000000000000003f800000"));
    EXPECT_EQ(blob(record("path"), "elements").toHex(), QByteArray("003f8000004000000003"));
}

TEST_F(KeyedArchiveTest, SharedReferencesReadAsOneObject) {
    // Two keys referring to the same record give the same object.
    ArchiveTestNode node;
    node.name = "shared";
    KeyedArchiver archiver;
    archiver.encodeObject(&node, "a");
    Plist plist(archiver.finishEncoding());
    plist_t top = plist_dict_get_item(plist.root, "$top");
    plist_dict_set_item(top, "b", plist_copy(plist_dict_get_item(top, "a")));
    char* bytes = nullptr;
    std::uint32_t length = 0;
    plist_to_bin(plist.root, &bytes, &length);
    KeyedUnarchiver reader(QByteArray(bytes, length));
    plist_to_bin_free(bytes);
    auto a = reader.decodeObject("a");
    EXPECT_EQ(a, reader.decodeObject("b"));
    EXPECT_EQ(std::dynamic_pointer_cast<ArchiveTestNode>(a)->name, "shared");
}

TEST_F(KeyedArchiveTest, CopyWithArchiverIsDeep) {
    auto tree = ArchiveTestNode::sampleTree();
    auto copy = copyWithArchiver(*tree);
    ASSERT_TRUE(copy);
    EXPECT_TRUE(copy->sameAs(*tree));
    EXPECT_NE(copy->child, tree->child);
    copy->child->name = "changed";
    EXPECT_EQ(tree->child->name, "child");
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
    KeyedArchiver archiver;
    archiver.encodeObject(&other, "other");
    archiver.encodeObject(&node, "node");
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

    KeyedArchiver unknown;
    struct Stranger : OtherNode {
        std::string archiveClassName() const override { return "NeverRegistered"; }
    } stranger;
    unknown.encodeObject(&stranger, "x");
    KeyedUnarchiver unknownReader(unknown.finishEncoding());
    try {
        unknownReader.decodeObject("x");
        FAIL();
    } catch (const ArchiveError& e) {
        EXPECT_NE(std::string(e.what()).find("NeverRegistered"), std::string::npos);
    }
}

} // namespace
