#pragma once

#include <string>

// Localised texts through Qt's translators. A table is a translation
// context: "Main" holds the program's own texts (alert titles, key
// symbols), "Lua" the texts that pen scripts name (pen type names). A key
// without a translation comes back unchanged.
class Localization {
public:
    static constexpr const char* kMainTable = "Main";
    static constexpr const char* kLuaTable = "Lua";

    static std::string localizedString(const std::string& key, const char* table = kMainTable);
    // Whether a translator gave a text for the key.
    static bool hasTranslation(const std::string& key, const char* table = kMainTable);
};
