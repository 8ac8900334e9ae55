#include "pens/LuaObjectRegistry.h"

#include <iterator>

bool LuaObjectRegistry::retain(const void* p) {
    auto it = _entries.find(p);
    if (it == _entries.end()) return false;
    it->second.retains++;
    return true;
}

bool LuaObjectRegistry::release(const void* p) {
    auto it = _entries.find(p);
    if (it == _entries.end() || it->second.retains == 0) return false;
    it->second.retains--;
    return true;
}

int LuaObjectRegistry::retainCount(const void* p) const {
    auto it = _entries.find(p);
    return it == _entries.end() ? 0 : it->second.retains;
}

void LuaObjectRegistry::endEvent() {
    for (auto it = _entries.begin(); it != _entries.end();)
        it = it->second.retains == 0 ? _entries.erase(it) : std::next(it);
}
