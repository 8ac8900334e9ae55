#include "raster/ColorSet.h"

#include "raster/Assert.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace {

std::uint32_t byteAt(std::uint32_t word, int shift) {
    return (word >> shift) & 0xFF;
}

int shiftOfChannel(int channel) {
    return 8 * channel + 8;
}

} // namespace

void ColorSet::compute_min_max() {
    std::uint32_t lo[4] = {255, 255, 255, 255}, hi[4] = {0, 0, 0, 0};
    const std::uint32_t* c = colours + start;
    for (std::int32_t i = 0; i < count; ++i)
        for (int ch = 0; ch < 4; ++ch) {
            const std::uint32_t v = byteAt(c[i], 8 * ch);
            lo[ch] = std::min(lo[ch], v);
            hi[ch] = std::max(hi[ch], v);
        }
    min = lo[0] | lo[1] << 8 | lo[2] << 16 | lo[3] << 24;
    max = hi[0] | hi[1] << 8 | hi[2] << 16 | hi[3] << 24;
}

float ColorSet::score() const {
    // On an empty box min exceeds max; the ranges are then meaningless but
    // the count of 0 makes the score 0.
    std::int32_t spread = 0;
    for (int shift = 0; shift < 24; shift += 8)
        spread += std::int32_t(byteAt(max, shift)) - std::int32_t(byteAt(min, shift));
    return float(count) * float(spread);
}

int ColorSet::median(int channel) const {
    const int shift = shiftOfChannel(channel);
    std::array<std::uint32_t, 256> hist{};
    const std::uint32_t* c = colours + start;
    for (std::int32_t i = 0; i < count; ++i) ++hist[byteAt(c[i], shift)];
    int lo = 0, hi = 255;
    std::uint64_t sl = hist[0], sh = hist[255];
    for (;;) {
        if (lo + 1 >= hi) return lo;
        if (sl < sh) {
            ++lo;
            sl += hist[std::size_t(lo)];
        } else {
            --hi;
            sh += hist[std::size_t(hi)];
        }
    }
}

int ColorSet::cut(int channel, int value) {
    const int shift = shiftOfChannel(channel);
    std::uint32_t* c = colours + start;
    std::int32_t i = 0, j = count - 1;
    while (i <= j) {
        if (std::int32_t(byteAt(c[i], shift)) <= value) {
            ++i;
        } else {
            std::swap(c[i], c[j]);
            --j;
        }
    }
    return i;
}

void ColorSet::median_cut(ColorSet& low, ColorSet& high) {
    // The channel of widest range, ties to the lower index.
    int channel = 0, widest = -1;
    for (int k = 0; k < 3; ++k) {
        const int shift = shiftOfChannel(k);
        const int range = int(byteAt(max, shift)) - int(byteAt(min, shift));
        if (range > widest) {
            widest = range;
            channel = k;
        }
    }
    const int split = cut(channel, median(channel));
    low = ColorSet{colours, start, split};
    high = ColorSet{colours, start + split, count - split};
    low.compute_min_max();
    high.compute_min_max();
}

std::uint32_t ColorSet::average_color() const {
    if (count == 0) return 0;
    std::uint64_t sum[4] = {0, 0, 0, 0};
    const std::uint32_t* c = colours + start;
    for (std::int32_t i = 0; i < count; ++i)
        for (int ch = 0; ch < 4; ++ch) sum[ch] += byteAt(c[i], 8 * ch);
    std::uint32_t out = 0;
    for (int ch = 0; ch < 4; ++ch) {
        const float mean = (float(sum[ch]) + 0.5f) / float(count);
        out |= (std::uint32_t(mean) & 0xFF) << (8 * ch);
    }
    return out;
}

void median_cut(const std::uint32_t* pixels, std::uint32_t count, int wanted,
                std::vector<std::uint32_t>& palette) {
    VIMO_ASSERT(count <= std::uint32_t(INT32_MAX));
    std::vector<std::uint32_t> work(pixels, pixels + count);
    std::vector<ColorSet> heap;
    ColorSet all{work.data(), 0, std::int32_t(count)};
    all.compute_min_max();
    heap.push_back(all);
    while (heap.size() < std::size_t(std::max(wanted, 0))) {
        // The popped box moves to the end of the array. A box that cannot be
        // split ends the splitting there, and it stays in the output, last.
        std::pop_heap(heap.begin(), heap.end());
        if (heap.back().score() == 0) break;
        ColorSet box = heap.back();
        heap.pop_back();
        ColorSet low, high;
        box.median_cut(low, high);
        heap.push_back(low);
        std::push_heap(heap.begin(), heap.end());
        heap.push_back(high);
        std::push_heap(heap.begin(), heap.end());
    }
    for (const ColorSet& box : heap) palette.push_back(box.average_color());
}
