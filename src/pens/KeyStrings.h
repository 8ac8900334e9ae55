#pragma once

#include <cstdint>
#include <optional>
#include <string>

// Keyboard shortcuts as pen scripts write them in their global "key" ("shift-b",
// "cmd-opt-3": modifier words and the key itself, joined by "-"), turned into
// modifier masks and into the symbol strings shown to the user. The symbols
// are localised texts of the main translation table ("shift_key",
// "control_key", ...); without a translation the English table below gives the
// usual glyphs, and any other word + "_key" shows as is.
class KeyStrings {
public:
    // Modifier bits, numbered as the tools' event flags.
    enum Modifier : std::uint32_t {
        AlphaShiftKeyMask = 1u << 16, // caps lock
        ShiftKeyMask = 1u << 17,
        ControlKeyMask = 1u << 18,
        OptionKeyMask = 1u << 19,
        CommandKeyMask = 1u << 20,
        NumericPadKeyMask = 1u << 21,
        HelpKeyMask = 1u << 22,
        FunctionKeyMask = 1u << 23,
    };

    // The OR of the modifier words (every part but the last, lower-cased;
    // unknown words count for nothing). Nothing, or a text without "-",
    // gives 0.
    static std::uint32_t modifierMaskFromKeyString(const std::optional<std::string>& key);
    // The modifiers' symbols in the order written, then the key upper-cased.
    // Nothing gives "".
    static std::string formatKeyString(const std::optional<std::string>& key);
    // A menu item's shortcut for display: the symbols of the modifiers in the
    // mask in the fixed order control, command, option, caps lock, shift,
    // function, numeric keypad, help, then the key upper-cased. Nothing for
    // an item without a key equivalent.
    static std::optional<std::string> keyEquivalentString(const std::string& keyEquivalent,
                                                          std::uint32_t modifierMask);

    // The symbol for a key such as "shift_key": its translation, else the
    // English symbol, else the key itself.
    static std::string localizedSymbol(const std::string& key);
    // The English symbol for a key, if there is one.
    static std::optional<std::string> englishSymbol(const std::string& key);
};
