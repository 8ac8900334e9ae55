#include "raster/TransferModes.h"

#include <climits>
#include <cmath>
#include <cstdlib>

const TransferRowFunctions& transferRowsGeneric();
const TransferRowFunctions* transferRowsAvx2();

namespace transfer_modes {

namespace {

Variant makeVariant(std::string name, const TransferRowFunctions& table) {
    Variant v;
    v.name = std::move(name);
    for (int m = 0; m < kModeCount; ++m) {
        v.rows[m][0] = table.modes[m].plain;
        v.rows[m][1] = table.modes[m].scaled;
    }
    return v;
}

bool cpuRunsAvx2() {
#if defined(__x86_64__) || defined(__i386__)
    __builtin_cpu_init();
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
           __builtin_cpu_supports("bmi2");
#else
    return false;
#endif
}

} // namespace

int opacityFactor(float opacity) {
    const double v = double(opacity * 255.0f) + 0.5;
    if (!(v > double(INT_MIN) - 1.0 && v < double(INT_MAX) + 1.0)) return INT_MIN;
    return static_cast<int>(v);
}

void scaleWords(std::uint32_t* words, std::size_t n, int op) {
    for (std::size_t i = 0; i < n; ++i) {
        std::uint32_t out = 0;
        for (int shift = 0; shift < 32; shift += 8) {
            const std::uint32_t c = (words[i] >> shift) & 0xFF;
            const auto product = static_cast<std::int32_t>(c * static_cast<std::uint32_t>(op));
            out |= (static_cast<std::uint32_t>(product / 255) & 0xFF) << shift;
        }
        words[i] = out;
    }
}

const std::vector<Variant>& variants() {
    static const std::vector<Variant> all = [] {
        std::vector<Variant> v;
        v.push_back(makeVariant("generic", transferRowsGeneric()));
        if (const TransferRowFunctions* avx2 = transferRowsAvx2(); avx2 && cpuRunsAvx2())
            v.push_back(makeVariant("avx2", *avx2));
        return v;
    }();
    return all;
}

const Variant& activeVariant() {
    static const Variant& chosen = [&]() -> const Variant& {
        const auto& all = variants();
        if (const char* wanted = std::getenv("VIMO_TRANSFER_VARIANT"))
            for (const Variant& v : all)
                if (v.name == wanted) return v;
        return all.back();
    }();
    return chosen;
}

} // namespace transfer_modes
