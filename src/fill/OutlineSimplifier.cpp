#include "fill/OutlineSimplifier.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int kNotUnit = 4;
// Runs longer than this many steps are joined only kShortJoin at a time.
constexpr std::size_t kLongJoin = 10;
constexpr std::size_t kShortJoin = 5;

int stepDirection(const Point& a, const Point& b) {
    const float dx = b.x - a.x, dy = b.y - a.y;
    if (dx == 1 && dy == 0) return 0;
    if (dx == 0 && dy == 1) return 1;
    if (dx == -1 && dy == 0) return 2;
    if (dx == 0 && dy == -1) return 3;
    return kNotUnit;
}

// The polygon while one pass runs over it: the points up to the current
// index (kept) followed by the not yet visited rest of the original array.
// Removals happen right after the current point, at the front of the rest,
// so the pass stays linear; only a removal that wraps round to index 0
// touches the kept part.
class PassBuffer {
public:
    explicit PassBuffer(std::vector<Point>& points) : _source(std::move(points)) {
        _kept.reserve(_source.size());
        _kept.push_back(_source[0]);
        _next = 1;
    }

    std::size_t size() const { return _kept.size() + (_source.size() - _next); }
    const Point& at(std::size_t j) const {
        j %= size();
        return j < _kept.size() ? _kept[j] : _source[_next + (j - _kept.size())];
    }
    int step(std::size_t j) const { return stepDirection(at(j), at(j + 1)); }

    void removeAt(std::size_t j) {
        j %= size();
        if (j < _kept.size())
            _kept.erase(_kept.begin() + std::ptrdiff_t(j));
        else
            ++_next; // j is the first unvisited point: the pass removes only there
    }
    // Makes index i part of the kept prefix.
    void reach(std::size_t i) {
        while (_kept.size() <= i && _next < _source.size()) _kept.push_back(_source[_next++]);
    }

    std::vector<Point> finish() {
        _kept.insert(_kept.end(), _source.begin() + std::ptrdiff_t(_next), _source.end());
        return std::move(_kept);
    }

private:
    std::vector<Point> _source;
    std::vector<Point> _kept;
    std::size_t _next;
};

} // namespace

void OutlineSimplifier::simplifyPointsOnOutside(std::vector<Point>& points) {
    simplify(points, 3);
}

void OutlineSimplifier::simplifyPointsOnInside(std::vector<Point>& points) {
    simplify(points, 1);
}

void OutlineSimplifier::simplify(std::vector<Point>& points, int turn) {
    if (points.size() < 4) return;
    PassBuffer poly(points);
    // Counting stops once a run is known to be longer than kLongJoin.
    auto runLength = [&](std::size_t from, int direction) {
        std::size_t count = 0;
        while (count <= kLongJoin && count < poly.size() && poly.step(from + count) == direction)
            ++count;
        return count;
    };
    for (std::size_t i = 0; i < poly.size() && poly.size() >= 4; ++i) {
        poly.reach(i);
        const int d0 = poly.step(i);
        const int d1 = poly.step(i + 1);
        const int joined = (d0 + turn) % 4;
        std::size_t k = 0;
        if (d0 == kNotUnit || d1 == kNotUnit) {
            k = 0;
        } else if (d1 == joined) {
            k = runLength(i + 1, joined);
        } else if (d1 == d0) {
            const std::size_t s = runLength(i + 1, d0);
            k = s + (s <= kLongJoin && poly.step(i + 1 + s) == joined ? 1 : 0);
        }
        if (k > kLongJoin) k = kShortJoin;
        // Never remove every point, whatever the input.
        k = std::min(k, poly.size() - 1);
        for (std::size_t r = 0; r < k; ++r) poly.removeAt(i + 1);
    }
    points = poly.finish();
}
