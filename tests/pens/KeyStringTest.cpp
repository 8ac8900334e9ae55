#include "pens/KeyStrings.h"

#include <gtest/gtest.h>

namespace {

constexpr auto Shift = KeyStrings::ShiftKeyMask;
constexpr auto Control = KeyStrings::ControlKeyMask;
constexpr auto Option = KeyStrings::OptionKeyMask;
constexpr auto Command = KeyStrings::CommandKeyMask;

TEST(KeyStrings, ModifierMaskCountsEveryWordButTheKey) {
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString(std::nullopt), 0u);
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("x"), 0u);
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("shift-cmd-x"), Shift | Command);
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("ctrl-"), Control); // "" is the key
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("Shift-X"), Shift);
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("control-alt-opt-option-command-k"),
              Control | Option | Command);
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("numpad-f-1"),
              KeyStrings::NumericPadKeyMask | KeyStrings::FunctionKeyMask);
    EXPECT_EQ(KeyStrings::modifierMaskFromKeyString("hyper-shift"), 0u); // shift is the key
}

TEST(KeyStrings, FormatKeepsTheWrittenOrderWithEnglishSymbols) {
    EXPECT_EQ(KeyStrings::formatKeyString(std::nullopt), "");
    EXPECT_EQ(KeyStrings::formatKeyString(""), "");
    EXPECT_EQ(KeyStrings::formatKeyString("a"), "A");
    EXPECT_EQ(KeyStrings::formatKeyString("opt-cmd-k"), "⌥⌘K");
    EXPECT_EQ(KeyStrings::formatKeyString("CTRL-Shift-alt-b"), "⌃⇧⌥B");
    EXPECT_EQ(KeyStrings::formatKeyString("hyper-x"), "hyper_keyX"); // unknown word as is
}

TEST(KeyStrings, KeyEquivalentUsesTheFixedModifierOrder) {
    EXPECT_FALSE(KeyStrings::keyEquivalentString("", Shift));
    EXPECT_EQ(KeyStrings::keyEquivalentString("e", Shift | Command), "⌘⇧E");
    EXPECT_EQ(KeyStrings::keyEquivalentString("z", Shift | Option | Command | Control |
                                                       KeyStrings::AlphaShiftKeyMask),
              "⌃⌘⌥⇪⇧Z");
    EXPECT_EQ(KeyStrings::keyEquivalentString("1", KeyStrings::HelpKeyMask |
                                                       KeyStrings::NumericPadKeyMask |
                                                       KeyStrings::FunctionKeyMask),
              "fnnumhelp1");
}

} // namespace
