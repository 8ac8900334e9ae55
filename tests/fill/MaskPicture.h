#pragma once

// Bitmaps as ASCII pictures for the fill tests: one string per row, the top
// row first (as the picture reads), one character per pixel.

#include "fill/BitmapFill.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

using Legend = std::map<char, std::uint32_t>;
using Picture = std::vector<std::string>;

// '.' empty, '#' filled with RED, 'o' a hole mark.
inline const Legend kMask{{'.', TRANSPARENT}, {'#', RED}, {'o', BitmapFill::HOLE_MARK}};

inline std::unique_ptr<Bitmap> bitmapFrom(const Picture& rows, const Legend& legend = kMask) {
    const int h = int(rows.size()), w = int(rows[0].size());
    auto b = std::make_unique<Bitmap>(Size{float(w), float(h)});
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            b->at(x, y) = legend.at(rows[std::size_t(h - 1 - y)][std::size_t(x)]);
    return b;
}

inline std::unique_ptr<Bitmap> emptyMask(int w, int h) {
    return bitmapFrom(Picture(std::size_t(h), std::string(std::size_t(w), '.')));
}

// Words missing from the legend show as '?'.
inline Picture pictureOf(const Bitmap& b, const Legend& legend = kMask) {
    Picture rows(std::size_t(b.height()), std::string(std::size_t(b.width()), '?'));
    for (int y = 0; y < b.height(); ++y)
        for (int x = 0; x < b.width(); ++x)
            for (const auto& [c, word] : legend)
                if (word == b.at(x, y)) rows[std::size_t(b.height() - 1 - y)][std::size_t(x)] = c;
    return rows;
}
