#pragma once

#include "model/KeyedArchiver.h"

#include <plist/plist.h>

#include <QByteArray>

#include <cstdint>
#include <string>

// A property list held by libplist, freed with this object.
struct Plist {
    plist_t root = nullptr;
    explicit Plist(plist_t node) : root(node) {}
    explicit Plist(const QByteArray& bytes) {
        plist_from_bin(bytes.constData(), std::uint32_t(bytes.size()), &root);
    }
    Plist(const Plist&) = delete;
    Plist& operator=(const Plist&) = delete;
    ~Plist() { plist_free(root); }
    // The list as libplist writes it.
    QByteArray bytes() const {
        char* out = nullptr;
        std::uint32_t length = 0;
        plist_to_bin(root, &out, &length);
        QByteArray result(out, qsizetype(length));
        plist_to_bin_free(out);
        return result;
    }
};

inline std::string stringOf(plist_t node) {
    if (!node || plist_get_node_type(node) != PLIST_STRING) return "<not a string>";
    std::uint64_t n = 0;
    const char* s = plist_get_string_ptr(node, &n);
    return std::string(s, n);
}

inline std::uint64_t uidOf(plist_t node) {
    std::uint64_t uid = ~std::uint64_t(0);
    if (node && plist_get_node_type(node) == PLIST_UID) plist_get_uid_val(node, &uid);
    return uid;
}

// The archive of one object as libplist reads it, to inspect or edit.
struct ArchivePlist : Plist {
    explicit ArchivePlist(const Codable& object)
        : Plist(KeyedArchiver::archivedDataWithRootObject(object)),
          objects(plist_dict_get_item(root, "$objects")),
          rootUid(uidOf(plist_dict_get_item(plist_dict_get_item(root, "$top"), "root"))),
          record(plist_array_get_item(objects, std::uint32_t(rootUid))) {}
    // The record of the object under key of the root's record.
    plist_t recordOf(const char* key) const {
        return plist_array_get_item(objects,
                                    std::uint32_t(uidOf(plist_dict_get_item(record, key))));
    }
    // Sets key of the root's record (of null) or of the record under of.
    void set(const char* of, const char* key, plist_t value) const {
        plist_dict_set_item(of ? recordOf(of) : record, key, value);
    }

    plist_t objects;
    std::uint64_t rootUid;
    plist_t record;
};
