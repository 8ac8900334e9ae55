#pragma once

#include "raster/Geometry.h"

#include <cstdint>

// One pointer or keyboard-modifier event as the tools see it. The view (or a
// test) fills it in from the platform's mouse and tablet events; the tools
// never see platform event objects, so they run headless.
struct ToolEvent {
    // Modifier bits, numbered as the stored key equivalents and scripts
    // expect them.
    enum Modifier : std::uint32_t {
        CapsLockKey = 1u << 16,
        ShiftKey = 1u << 17,
        ControlKey = 1u << 18,
        OptionKey = 1u << 19,
        CommandKey = 1u << 20,
    };

    Point location; // in view (= canvas bitmap) coordinates
    std::uint32_t modifierFlags = 0;
    float pressure = 1.0f; // 0..1; a mouse gives 1
    Point tilt;            // -1..1 in x and y; a mouse gives 0
    float rotation = 0;    // pen barrel rotation in degrees, when known
    int clickCount = 1;
    double timestamp = 0; // seconds

    bool optionDown() const { return modifierFlags & OptionKey; }
    bool shiftDown() const { return modifierFlags & ShiftKey; }
    bool controlDown() const { return modifierFlags & ControlKey; }
    bool commandDown() const { return modifierFlags & CommandKey; }
    bool capsLockDown() const { return modifierFlags & CapsLockKey; }
};
