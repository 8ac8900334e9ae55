#include "pens/KeyStrings.h"

#include <gtest/gtest.h>

namespace {

using K = KeyStrings;

// Every word but the last is a modifier; only key equivalents reorder them.
TEST(KeyStrings, ModifierMasksFormatsAndKeyEquivalents) {
    EXPECT_EQ(K::modifierMaskFromKeyString(std::nullopt), 0u);
    EXPECT_EQ(K::modifierMaskFromKeyString("ctrl-"), K::ControlKeyMask); // "" is the key
    EXPECT_EQ(K::modifierMaskFromKeyString("control-alt-opt-option-command-k"),
              K::ControlKeyMask | K::OptionKeyMask | K::CommandKeyMask);
    EXPECT_EQ(K::modifierMaskFromKeyString("numpad-f-1"),
              K::NumericPadKeyMask | K::FunctionKeyMask);
    EXPECT_EQ(K::modifierMaskFromKeyString("hyper-shift"), 0u); // shift is the key

    EXPECT_EQ(K::formatKeyString(std::nullopt), "");
    EXPECT_EQ(K::formatKeyString("CTRL-Shift-alt-b"), "⌃⇧⌥B");
    EXPECT_EQ(K::formatKeyString("hyper-x"), "hyper_keyX"); // unknown word as is

    EXPECT_FALSE(K::keyEquivalentString("", K::ShiftKeyMask));
    EXPECT_EQ(K::keyEquivalentString("z", K::ShiftKeyMask | K::OptionKeyMask | K::CommandKeyMask |
                                              K::ControlKeyMask | K::AlphaShiftKeyMask),
              "⌃⌘⌥⇪⇧Z");
}

} // namespace
