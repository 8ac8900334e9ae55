#include "model/RewindBuffer.h"

#include "raster/Assert.h"
#include "raster/Bitmap.h"

#include <algorithm>

BufferEntry::BufferEntry(int strokeCount, const Bitmap* bitmap)
    : _bitmap(bitmap ? Bitmap::initWithCopy(*bitmap) : nullptr), _stroke_count(strokeCount) {}

BufferEntry::BufferEntry(int strokeCount, std::unique_ptr<Bitmap> snapshot)
    : _bitmap(std::move(snapshot)), _stroke_count(strokeCount) {}

BufferEntry::~BufferEntry() = default;

std::unique_ptr<BufferEntry> BufferEntry::entryWithStrokes(int strokeCount, const Bitmap* bitmap) {
    return std::make_unique<BufferEntry>(strokeCount, bitmap);
}

RewindBuffer::RewindBuffer() {
    _buffer.push_back(BufferEntry::entryWithStrokes(0, nullptr));
}

RewindBuffer::~RewindBuffer() = default;

bool RewindBuffer::wantsToRecordStroke(int n) const {
    return n - lastStrokeCount() >= _min_step;
}

bool RewindBuffer::wantsToRecordStroke(int i, int n) const {
    // Computed in single precision: the spacing is a third of the remaining
    // distance plus a little, truncated, but never less than _min_step.
    const int last = lastStrokeCount();
    const float m = float(_min_step);
    const float f = _step_multiplication_factor;
    const float t = (m + (f - 1.0f) * float(n - last)) / f;
    const int threshold = std::max(int(t) + last, last + _min_step);
    return threshold <= i;
}

void RewindBuffer::recordStroke(int n, const Bitmap& bitmap) {
    if (!wantsToRecordStroke(n)) return;
    append(n, bitmap);
    optimizeBuffer();
}

void RewindBuffer::recordStroke(int i, int n, const Bitmap& bitmap) {
    if (!wantsToRecordStroke(i, n)) return;
    append(i, bitmap);
}

void RewindBuffer::append(int strokeCount, const Bitmap& bitmap) {
    std::unique_ptr<Bitmap> snapshot;
    while (!_spare.empty() && !snapshot) {
        snapshot = std::move(_spare.back());
        _spare.pop_back();
        if (snapshot->width() != bitmap.width() || snapshot->height() != bitmap.height())
            snapshot.reset();
    }
    if (snapshot) {
        bitmap.copyAllTo(*snapshot);
        _buffer.push_back(std::make_unique<BufferEntry>(strokeCount, std::move(snapshot)));
    } else {
        _buffer.push_back(BufferEntry::entryWithStrokes(strokeCount, &bitmap));
    }
    _most_entries = std::max(_most_entries, _buffer.size());
}

void RewindBuffer::removeEntry(std::size_t index) {
    VIMO_ASSERT(index > 0 && index < _buffer.size());
    std::unique_ptr<Bitmap> memory = _buffer[index]->takeBitmap();
    _buffer.erase(_buffer.begin() + std::ptrdiff_t(index));
    if (memory && _buffer.size() + _spare.size() < _most_entries)
        _spare.push_back(std::move(memory));
}

const Bitmap* RewindBuffer::bitmapBeforeStroke(int& k) const {
    for (auto it = _buffer.rbegin(); it != _buffer.rend(); ++it) {
        if ((*it)->strokeCount() <= k) {
            k = (*it)->strokeCount();
            return (*it)->bitmap();
        }
    }
    // Only reached for k below 0: entry 0 stands for the empty picture.
    k = 0;
    return nullptr;
}

void RewindBuffer::removeStrokesRecordedAfter(int n) {
    while (_buffer.size() > 1 && lastStrokeCount() > n) removeEntry(_buffer.size() - 1);
}

void RewindBuffer::clear() {
    while (_buffer.size() > 1) removeEntry(_buffer.size() - 1);
}

void RewindBuffer::optimizeBuffer() {
    // Walking from the newest entry back, an entry is dropped when its two
    // neighbours are within step of each other; every kept entry widens the
    // step for the older ones.
    float step = float(_min_step);
    std::size_t j = _buffer.size() - 1;
    while (j >= 2) {
        if (float(_buffer[j]->strokeCount() - _buffer[j - 2]->strokeCount()) <= step) {
            removeEntry(j - 1);
            --j;
        } else {
            --j;
            step *= _step_multiplication_factor;
        }
    }
    VIMO_ASSERT(_buffer.front()->strokeCount() == 0);
}

std::size_t RewindBuffer::spareByteCount() const {
    std::size_t bytes = 0;
    for (const auto& b : _spare) bytes += std::size_t(b->width()) * std::size_t(b->height()) * 4;
    return bytes;
}

void RewindBuffer::releaseSpareBitmaps() {
    _spare.clear();
}

std::vector<int> RewindBuffer::strokeCounts() const {
    std::vector<int> counts;
    counts.reserve(_buffer.size());
    for (const auto& e : _buffer) counts.push_back(e->strokeCount());
    return counts;
}

std::size_t RewindBuffer::byteCount() const {
    std::size_t bytes = 0;
    for (const auto& e : _buffer)
        if (e->bitmap())
            bytes += std::size_t(e->bitmap()->width()) * std::size_t(e->bitmap()->height()) * 4;
    return bytes;
}
