#pragma once

// Bitmaps drawn as ASCII pictures for the fill tests: one string per row,
// the top row first (as the picture reads), one character per pixel.

#include "fill/BitmapFill.h"
#include "raster/Bitmap.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

using Legend = std::map<char, std::uint32_t>;
using Picture = std::vector<std::string>;

// '.' empty, '#' filled with RED, 'o' a hole mark, 'x' the expand mark.
inline const Legend& maskLegend() {
    static const Legend legend{{'.', TRANSPARENT},
                               {'#', RED},
                               {'o', BitmapFill::HOLE_MARK},
                               {'x', BitmapFill::EXPAND_MARK}};
    return legend;
}

inline std::unique_ptr<Bitmap> bitmapFrom(const Picture& rows,
                                          const Legend& legend = maskLegend()) {
    const int height = int(rows.size());
    const int width = height ? int(rows[0].size()) : 0;
    auto bitmap = std::make_unique<Bitmap>(Size{float(width), float(height)});
    for (int r = 0; r < height; ++r)
        for (int x = 0; x < width; ++x)
            bitmap->at(x, height - 1 - r) = legend.at(rows[std::size_t(r)][std::size_t(x)]);
    return bitmap;
}

// Words missing from the legend show as '?'.
inline Picture pictureOf(const Bitmap& bitmap, const Legend& legend = maskLegend()) {
    Picture rows;
    for (int y = bitmap.height() - 1; y >= 0; --y) {
        std::string row;
        for (int x = 0; x < bitmap.width(); ++x) {
            char c = '?';
            for (const auto& [key, word] : legend)
                if (word == bitmap.at(x, y)) c = key;
            row += c;
        }
        rows.push_back(row);
    }
    return rows;
}

inline std::unique_ptr<Bitmap> emptyMask(int width, int height) {
    auto mask = std::make_unique<Bitmap>(Size{float(width), float(height)});
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) mask->at(x, y) = TRANSPARENT;
    return mask;
}
