#pragma once

// Bit masks over short runs of pixel words: bit i describes word i, for up to
// 64 consecutive words of one row. The fills decide 64 pixels at a time with
// them instead of testing word by word. SSE2 builds the masks where the
// compiler offers it; the scalar loops give the same bits everywhere else.

#include <bit>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace pixelblocks {

// The n lowest bits set (n from 0 to 64).
inline std::uint64_t lowBits(int n) {
    return n >= 64 ? ~std::uint64_t(0) : (std::uint64_t(1) << n) - 1;
}

#if defined(__SSE2__)
inline __m128i load4(const std::uint32_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

// Four lane masks (all ones or all zeros per 32-bit lane) to 16 bits.
inline std::uint64_t pack16(__m128i a, __m128i b, __m128i c, __m128i d) {
    const __m128i bytes = _mm_packs_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
    return std::uint64_t(unsigned(_mm_movemask_epi8(bytes)));
}

inline std::uint64_t pack4(__m128i a) {
    return std::uint64_t(unsigned(_mm_movemask_ps(_mm_castsi128_ps(a))));
}

// Runs laneTest (four words -> lane mask) over the vector part and wordTest
// over the tail.
template <class LaneTest, class WordTest>
inline std::uint64_t collect(const std::uint32_t* p, int n, LaneTest laneTest, WordTest wordTest) {
    std::uint64_t bits = 0;
    int i = 0;
    for (; i + 16 <= n; i += 16)
        bits |= pack16(laneTest(load4(p + i)), laneTest(load4(p + i + 4)),
                       laneTest(load4(p + i + 8)), laneTest(load4(p + i + 12)))
                << i;
    for (; i + 4 <= n; i += 4) bits |= pack4(laneTest(load4(p + i))) << i;
    for (; i < n; ++i) bits |= std::uint64_t(wordTest(p[i])) << i;
    return bits;
}
#endif

// Words whose alpha byte is zero.
inline std::uint64_t alphaZeroBits(const std::uint32_t* p, int n) {
    auto word = [](std::uint32_t w) { return w <= 0x00FFFFFFu; };
#if defined(__SSE2__)
    const __m128i zero = _mm_setzero_si128();
    return collect(
        p, n, [&](__m128i v) { return _mm_cmpeq_epi32(_mm_srli_epi32(v, 24), zero); }, word);
#else
    std::uint64_t bits = 0;
    for (int i = 0; i < n; ++i) bits |= std::uint64_t(word(p[i])) << i;
    return bits;
#endif
}

// Words equal to value.
inline std::uint64_t equalBits(const std::uint32_t* p, int n, std::uint32_t value) {
    auto word = [value](std::uint32_t w) { return w == value; };
#if defined(__SSE2__)
    const __m128i v0 = _mm_set1_epi32(static_cast<int>(value));
    return collect(
        p, n, [&](__m128i v) { return _mm_cmpeq_epi32(v, v0); }, word);
#else
    std::uint64_t bits = 0;
    for (int i = 0; i < n; ++i) bits |= std::uint64_t(word(p[i])) << i;
    return bits;
#endif
}

// The largest of the four absolute byte differences of two words.
inline int channelDistance(std::uint32_t a, std::uint32_t b) {
    int d = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const int x = int((a >> shift) & 0xFF) - int((b >> shift) & 0xFF);
        const int ax = x < 0 ? -x : x;
        if (ax > d) d = ax;
    }
    return d;
}

// Words whose every byte lies within maxDistance of the same byte of
// center; maxDistance below 0 matches nothing, 255 or more everything.
inline std::uint64_t withinBits(const std::uint32_t* p, int n, std::uint32_t center,
                                int maxDistance) {
    if (maxDistance < 0) return 0;
    if (maxDistance >= 255) return lowBits(n);
    auto word = [=](std::uint32_t w) { return channelDistance(w, center) <= maxDistance; };
#if defined(__SSE2__)
    const __m128i c = _mm_set1_epi32(static_cast<int>(center));
    const __m128i limit = _mm_set1_epi8(static_cast<char>(maxDistance));
    const __m128i zero = _mm_setzero_si128();
    return collect(
        p, n,
        [&](__m128i v) {
            const __m128i d = _mm_or_si128(_mm_subs_epu8(v, c), _mm_subs_epu8(c, v));
            return _mm_cmpeq_epi32(_mm_subs_epu8(d, limit), zero);
        },
        word);
#else
    std::uint64_t bits = 0;
    for (int i = 0; i < n; ++i) bits |= std::uint64_t(word(p[i])) << i;
    return bits;
#endif
}

// Sets the words whose bit is set to value.
inline void writeBits(std::uint32_t* p, std::uint64_t bits, std::uint32_t value) {
#if defined(__SSE2__)
    const __m128i v = _mm_set1_epi32(static_cast<int>(value));
    if (bits == ~std::uint64_t(0)) { // a whole block, the common case inside large areas
        for (int i = 0; i < 64; i += 4) _mm_storeu_si128(reinterpret_cast<__m128i*>(p + i), v);
        return;
    }
    while (bits) {
        const int i = std::countr_zero(bits) & ~3;
        if (((bits >> i) & 0xF) == 0xF) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p + i), v);
        } else {
            for (int k = i; k < i + 4; ++k)
                if ((bits >> k) & 1) p[k] = value;
        }
        bits &= i + 4 >= 64 ? 0 : ~std::uint64_t(0) << (i + 4);
    }
#else
    while (bits) {
        const int i = std::countr_zero(bits);
        p[i] = value;
        bits &= bits - 1;
    }
#endif
}

// The bits of open reachable from the seeds (a subset of open) by moving
// to higher bits through open: a run of open pixels filled rightward from
// its seeds. The carry of the addition runs from each seed to the end of
// its run.
inline std::uint64_t spreadUp(std::uint64_t seeds, std::uint64_t open) {
    return open & (seeds | ((open + seeds) ^ open ^ seeds));
}

// The same toward lower bits (a doubling flood, since a subtraction cannot
// carry downward).
inline std::uint64_t spreadDown(std::uint64_t seeds, std::uint64_t open) {
    seeds |= open & (seeds >> 1);
    open &= open >> 1;
    seeds |= open & (seeds >> 2);
    open &= open >> 2;
    seeds |= open & (seeds >> 4);
    open &= open >> 4;
    seeds |= open & (seeds >> 8);
    open &= open >> 8;
    seeds |= open & (seeds >> 16);
    open &= open >> 16;
    seeds |= open & (seeds >> 32);
    return seeds;
}

} // namespace pixelblocks
