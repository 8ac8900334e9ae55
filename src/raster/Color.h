#pragma once

#include <cstdint>

// A colour of four float components in 0..1 (not premultiplied), tagged with
// the colour space it was made in. Calibrated and device RGB share the same
// numbers here (there is no colour management); the tag matters only for
// equality, which compares the space and all four components, as documents
// and pen settings expect.
class Color {
public:
    enum class Space : std::uint8_t { CalibratedRGB, DeviceRGB };

    constexpr Color() = default;
    static constexpr Color calibrated(float r, float g, float b, float a = 1) {
        return Color(Space::CalibratedRGB, r, g, b, a);
    }
    static constexpr Color device(float r, float g, float b, float a = 1) {
        return Color(Space::DeviceRGB, r, g, b, a);
    }

    // The named colours the document commands and tools use.
    static constexpr Color black() { return calibrated(0, 0, 0); }
    static constexpr Color white() { return calibrated(1, 1, 1); }
    static constexpr Color gray() { return calibrated(0.5f, 0.5f, 0.5f); }
    static constexpr Color red() { return calibrated(1, 0, 0); }
    static constexpr Color green() { return calibrated(0, 1, 0); }
    static constexpr Color blue() { return calibrated(0, 0, 1); }
    static constexpr Color cyan() { return calibrated(0, 1, 1); }
    static constexpr Color magenta() { return calibrated(1, 0, 1); }
    static constexpr Color yellow() { return calibrated(1, 1, 0); }
    static constexpr Color orange() { return calibrated(1, 0.5f, 0); }
    static constexpr Color purple() { return calibrated(0.5f, 0, 0.5f); }
    static constexpr Color brown() { return calibrated(0.6f, 0.4f, 0.2f); }
    static constexpr Color clear() { return calibrated(0, 0, 0, 0); }

    Space space() const { return _space; }
    float redComponent() const { return _r; }
    float greenComponent() const { return _g; }
    float blueComponent() const { return _b; }
    float alphaComponent() const { return _a; }

    // The same colour in another space (the numbers carry over unchanged).
    Color usingSpace(Space s) const { return Color(s, _r, _g, _b, _a); }
    Color withAlphaComponent(float a) const { return Color(_space, _r, _g, _b, a); }

    friend bool operator==(const Color&, const Color&) = default;

private:
    constexpr Color(Space s, float r, float g, float b, float a)
        : _space(s), _r(r), _g(g), _b(b), _a(a) {}

    Space _space = Space::CalibratedRGB;
    float _r = 0, _g = 0, _b = 0, _a = 1;
};
