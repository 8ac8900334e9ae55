#pragma once

#include <cstdint>
#include <vector>

// One box of the median-cut quantizer: a range of a shared working array of
// packed colours (not owned) with the per-channel minimum and maximum of its
// colours, packed like a pixel.
//
// Splitting channels are numbered 0 = green, 1 = blue, 2 = alpha (the byte at
// bit shift 8k + 8): red is never split on, while a box's score counts red,
// green and blue but not alpha. Both asymmetries are part of the quantizer's
// defined behaviour.
struct ColorSet {
    std::uint32_t* colours = nullptr;
    std::int32_t start = 0;
    std::int32_t count = 0;
    std::uint32_t min = 0xFFFFFFFFu;
    std::uint32_t max = 0;

    // Recomputes min and max over the box; an empty box gets min 0xFFFFFFFF
    // and max 0.
    void compute_min_max();
    // count * (range of red + range of green + range of blue), in float.
    float score() const;
    // The value of channel k that splits the box's histogram of that channel
    // where the two running sums from either end meet.
    int median(int channel) const;
    // Reorders the box in place so that colours whose channel is at most
    // value come first; returns how many there are.
    int cut(int channel, int value);
    // Splits on the channel of widest range at its median.
    void median_cut(ColorSet& low, ColorSet& high);
    // The rounded mean of each channel; 0 for an empty box.
    std::uint32_t average_color() const;

    // Heap order: the box of larger score is the greater.
    bool operator<(const ColorSet& other) const { return other.score() > score(); }
};

// Reduces count packed pixels to at most wanted colours and appends them to
// palette, in the order the boxes sit in the quantizer's heap. The pixels are
// not changed.
void median_cut(const std::uint32_t* pixels, std::uint32_t count, int wanted,
                std::vector<std::uint32_t>& palette);
