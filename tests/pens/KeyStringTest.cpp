#include "pens/KeyStrings.h"

#include <gtest/gtest.h>

namespace {

using K = KeyStrings;

// Every word but the last is a modifier.
TEST(KeyStrings, ModifierMasks) {
    EXPECT_EQ(K::modifierMaskFromKeyString(std::nullopt), 0u);
    EXPECT_EQ(K::modifierMaskFromKeyString("ctrl-"), K::ControlKeyMask); // "" is the key
    EXPECT_EQ(K::modifierMaskFromKeyString("control-alt-opt-option-command-k"),
              K::ControlKeyMask | K::OptionKeyMask | K::CommandKeyMask);
    EXPECT_EQ(K::modifierMaskFromKeyString("numpad-f-1"),
              K::NumericPadKeyMask | K::FunctionKeyMask);
    EXPECT_EQ(K::modifierMaskFromKeyString("hyper-shift"), 0u); // shift is the key
}

} // namespace
