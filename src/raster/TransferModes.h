#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// The pixel loops of the eight transfer modes (0 normal, 1 erase, 2 darker,
// 3 lighter, 4 colorize, 5 shadow, 6 hilight, 7 multiply), each in two forms:
// the source as stored (opacity exactly 1) and the source first scaled by an
// opacity factor. Bitmap::transferRect drives them row by row.
//
// The loops are compiled once for the baseline instruction set and once more
// for x86-64-v3 (AVX2) where the compiler supports it; the fastest variant the
// processor runs is picked on first use. Every variant gives bit-identical
// results.
namespace transfer_modes {

constexpr int kModeCount = 8;

// One row: n source words onto n destination words (they may be the same
// words). op is the opacity factor of the scaled form, 0..255.
using RowFunction = void (*)(const std::uint32_t* src, std::uint32_t* dst, std::size_t n,
                             std::uint32_t op);

// The opacity factor of a transfer that is not at opacity 1:
// trunc(float(opacity * 255) + 0.5 in double). A value that does not fit an
// int (NaN, huge) gives INT_MIN, as the processor's truncating conversion does.
int opacityFactor(float opacity);

// Scales every channel of n words in place by op / 255 with the arithmetic of
// 32-bit signed integers (products wrap, division truncates toward zero,
// channels masked to 8 bits): the form for factors outside 0..255.
void scaleWords(std::uint32_t* words, std::size_t n, int op);

struct Variant {
    std::string name;                // "generic", "avx2"
    RowFunction rows[kModeCount][2]; // [mode][scaled]
};

// The variants this build has and this processor runs, slowest first.
const std::vector<Variant>& variants();
// The variant transfers use: the last of variants(), unless the environment
// variable VIMO_TRANSFER_VARIANT names another.
const Variant& activeVariant();

} // namespace transfer_modes

// One table of sixteen row functions, as each instruction-set unit provides it.
struct TransferRowFunctions {
    struct Pair {
        transfer_modes::RowFunction plain, scaled;
    };
    Pair modes[transfer_modes::kModeCount];
};
