#include "pens/KeyStrings.h"

#include "pens/Localization.h"

#include <QString>
#include <QStringList>

#include <array>
#include <utility>

namespace {

QStringList splitKeyString(const std::string& key) {
    return QString::fromStdString(key).split(QLatin1Char('-'));
}

std::string lower(const QString& s) {
    return s.toLower().toStdString();
}
std::string upper(const QString& s) {
    return s.toUpper().toStdString();
}

} // namespace

std::uint32_t KeyStrings::modifierMaskFromKeyString(const std::optional<std::string>& key) {
    if (!key) return 0;
    static const std::array<std::pair<const char*, std::uint32_t>, 10> words{{
        {"shift", ShiftKeyMask},
        {"ctrl", ControlKeyMask},
        {"control", ControlKeyMask},
        {"alt", OptionKeyMask},
        {"opt", OptionKeyMask},
        {"option", OptionKeyMask},
        {"cmd", CommandKeyMask},
        {"command", CommandKeyMask},
        {"numpad", NumericPadKeyMask},
        {"f", FunctionKeyMask},
    }};
    const QStringList parts = splitKeyString(*key);
    std::uint32_t mask = 0;
    for (qsizetype i = 0; i + 1 < parts.size(); i++) { // the last part is the key
        const std::string word = lower(parts[i]);
        for (const auto& [name, bit] : words)
            if (word == name) mask |= bit;
    }
    return mask;
}

std::string KeyStrings::formatKeyString(const std::optional<std::string>& key) {
    if (!key) return "";
    static const std::array<std::pair<const char*, const char*>, 4> aliases{{
        {"ctrl", "control"},
        {"alt", "option"},
        {"opt", "option"},
        {"cmd", "command"},
    }};
    const QStringList parts = splitKeyString(*key);
    std::string result;
    for (qsizetype i = 0; i < parts.size(); i++) {
        if (i + 1 == parts.size()) {
            result += upper(parts[i]);
            break;
        }
        std::string word = lower(parts[i]);
        for (const auto& [alias, canonical] : aliases)
            if (word == alias) word = canonical;
        result += localizedSymbol(word + "_key");
    }
    return result;
}

std::optional<std::string> KeyStrings::keyEquivalentString(const std::string& keyEquivalent,
                                                           std::uint32_t modifierMask) {
    if (keyEquivalent.empty()) return std::nullopt;
    static const std::array<std::pair<std::uint32_t, const char*>, 8> order{{
        {ControlKeyMask, "control_key"},
        {CommandKeyMask, "command_key"},
        {OptionKeyMask, "option_key"},
        {AlphaShiftKeyMask, "alphashift_key"},
        {ShiftKeyMask, "shift_key"},
        {FunctionKeyMask, "function_key"},
        {NumericPadKeyMask, "numpad_key"},
        {HelpKeyMask, "help_key"},
    }};
    std::string result;
    for (const auto& [bit, key] : order)
        if (modifierMask & bit) result += localizedSymbol(key);
    return result + upper(QString::fromStdString(keyEquivalent));
}

std::string KeyStrings::localizedSymbol(const std::string& key) {
    if (Localization::hasTranslation(key)) return Localization::localizedString(key);
    return englishSymbol(key).value_or(key);
}

std::optional<std::string> KeyStrings::englishSymbol(const std::string& key) {
    static const std::array<std::pair<const char*, const char*>, 8> symbols{{
        {"shift_key", "\u21E7"},      // ⇧
        {"control_key", "\u2303"},    // ⌃
        {"option_key", "\u2325"},     // ⌥
        {"command_key", "\u2318"},    // ⌘
        {"alphashift_key", "\u21EA"}, // ⇪
        {"function_key", "fn"},
        {"numpad_key", "num"},
        {"help_key", "help"},
    }};
    for (const auto& [name, symbol] : symbols)
        if (key == name) return std::string(symbol);
    return std::nullopt;
}
