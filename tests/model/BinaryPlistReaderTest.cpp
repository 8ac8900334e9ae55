#include "model/BinaryPlistReader.h"
#include "PlistTestSupport.h"
#include "model/ArchiveError.h"

#include <gtest/gtest.h>

#include <string>

// The reader must accept every form another writer (libplist here) may use:
// integer widths up to 16 bytes, negative numbers, UTF-16 text, long counts,
// wide offsets and references.

namespace {

using Kind = BinaryPlistReader::Kind;

TEST(BinaryPlistReader, ReadsEveryValueKindAnotherWriterProduces) {
    const Plist theirs(plist_new_dict());
    plist_t root = theirs.root;
    plist_dict_set_item(root, "large", plist_new_uint(0xFEDCBA9876543210ull));
    plist_dict_set_item(root, "negative", plist_new_uint(std::uint64_t(-5)));
    plist_dict_set_item(root, "real", plist_new_real(-1.25e10));
    plist_dict_set_item(root, "yes", plist_new_bool(1));
    plist_dict_set_item(root, "utf16", plist_new_string("Zeichnung \xC3\xBC \xF0\x9F\x8E\xA8"));
    // A UTF-16 key that lookups of the ASCII keys pass over.
    plist_dict_set_item(root, "Schl\u00fcssel", plist_new_string("non-ASCII key"));
    plist_dict_set_item(root, "uid", plist_new_uid(70000));
    const std::string blob(300, 'x');
    plist_dict_set_item(root, "data", plist_new_data(blob.data(), blob.size()));
    plist_t list = plist_new_array();
    // Enough distinct objects for references wider than one byte.
    for (int i = 0; i < 70000; ++i)
        plist_array_append_item(list, plist_new_string(("item " + std::to_string(i)).c_str()));
    plist_dict_set_item(root, "list", list);
    const QByteArray bytes = theirs.bytes();

    const BinaryPlistReader plist(bytes.constData(), std::size_t(bytes.size()));
    const auto value = [&](const char* key) {
        const auto index = plist.find(plist.object(plist.rootIndex()), key);
        EXPECT_TRUE(index.has_value()) << key;
        return plist.object(index.value_or(plist.rootIndex()));
    };
    EXPECT_EQ(BinaryPlistReader::unsignedValue(value("large")), 0xFEDCBA9876543210ull);
    EXPECT_EQ(std::int64_t(BinaryPlistReader::unsignedValue(value("negative"))), -5);
    EXPECT_EQ(BinaryPlistReader::realValue(value("real")), -1.25e10);
    EXPECT_TRUE(value("yes").boolean);
    EXPECT_EQ(value("utf16").kind, Kind::Utf16String);
    EXPECT_EQ(BinaryPlistReader::stringValue(value("utf16")),
              "Zeichnung \xC3\xBC \xF0\x9F\x8E\xA8");
    EXPECT_EQ(value("uid").kind, Kind::Uid);
    EXPECT_EQ(BinaryPlistReader::unsignedValue(value("uid")), 70000u);
    const auto data = value("data");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(data.bytes), data.count), blob);
    const auto items = value("list");
    ASSERT_EQ(items.kind, Kind::Array);
    ASSERT_EQ(items.count, 70000u);
    EXPECT_EQ(BinaryPlistReader::stringValue(plist.object(plist.reference(items, 69999))),
              "item 69999");
    EXPECT_FALSE(plist.find(plist.object(plist.rootIndex()), "missing"));
    EXPECT_THROW(plist.object(plist.objectCount()), ArchiveError);
}

} // namespace
