#pragma once

#include <cmath>

// Points, sizes and rectangles in single precision, as the drawing code uses
// them throughout. Rectangles are origin plus size with y up; a rectangle
// with a width or height of zero or less is empty.

struct Point {
    float x = 0;
    float y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

struct Size {
    float width = 0;
    float height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

struct Rect {
    float x = 0;
    float y = 0;
    float width = 0;
    float height = 0;

    float minX() const { return x; }
    float minY() const { return y; }
    float maxX() const { return x + width; }
    float maxY() const { return y + height; }
    Point origin() const { return {x, y}; }
    Size size() const { return {width, height}; }
    bool isEmpty() const { return !(width > 0 && height > 0); }
    bool hasNaN() const {
        return std::isnan(x) || std::isnan(y) || std::isnan(width) || std::isnan(height);
    }
    friend bool operator==(const Rect&, const Rect&) = default;
};

// The smallest rectangle holding both; an empty rectangle counts as nothing.
Rect unionRect(const Rect& a, const Rect& b);
// The overlap of both, or the zero rectangle when they do not overlap.
Rect intersectionRect(const Rect& a, const Rect& b);
bool intersectsRect(const Rect& a, const Rect& b);
// True when b lies inside a (b not empty).
bool containsRect(const Rect& a, const Rect& b);
// Moves each edge inward by dx, dy (outward when negative).
Rect insetRect(const Rect& r, float dx, float dy);
// Half-open containment: the left and bottom edges belong to the rectangle.
bool pointInRect(const Point& p, const Rect& r);
