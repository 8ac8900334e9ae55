#pragma once

#include "raster/Assert.h"

#include <cstddef>
#include <memory>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>

// The objects a Lua state hands to its script as light userdata (paths), so
// that a pointer coming back from the script is only used while it still
// names a live object of the expected type. An added object is owned here
// and lives until the end of the current event (endEvent()) unless the
// script retains it; a retained object lives until it has been released as
// often and the event in which that happened has ended.
class LuaObjectRegistry {
public:
    template <class T> T* add(std::unique_ptr<T> object) {
        T* key = object.get();
        VIMO_ASSERT(key != nullptr);
        _entries.insert_or_assign(
            key, Entry{std::shared_ptr<void>(std::move(object)), std::type_index(typeid(T)), 0});
        return key;
    }

    bool isLive(const void* p) const { return _entries.count(p) != 0; }
    // The object if p names a live one of type T, else null.
    template <class T> T* get(const void* p) const {
        auto it = _entries.find(p);
        if (it == _entries.end() || it->second.type != std::type_index(typeid(T))) return nullptr;
        return static_cast<T*>(it->second.object.get());
    }

    // False (and nothing changes) when p is not live, or for release() when
    // the object holds no retain.
    bool retain(const void* p);
    bool release(const void* p);
    int retainCount(const void* p) const;

    // Drops every object that holds no retain.
    void endEvent();
    void clear() { _entries.clear(); }
    std::size_t size() const { return _entries.size(); }

private:
    struct Entry {
        std::shared_ptr<void> object;
        std::type_index type;
        int retains;
    };
    std::unordered_map<const void*, Entry> _entries;
};
