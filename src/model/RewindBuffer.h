#pragma once

#include <cstddef>
#include <memory>
#include <vector>

class Bitmap;

// One snapshot of the draw bitmap: a private copy of it (or none, for the
// empty picture) labelled with a stroke count.
class BufferEntry {
public:
    // Copies the bitmap when one is given.
    BufferEntry(int strokeCount, const Bitmap* bitmap);
    // Takes a snapshot already made.
    BufferEntry(int strokeCount, std::unique_ptr<Bitmap> snapshot);
    ~BufferEntry();
    BufferEntry(const BufferEntry&) = delete;
    BufferEntry& operator=(const BufferEntry&) = delete;

    static std::unique_ptr<BufferEntry> entryWithStrokes(int strokeCount, const Bitmap* bitmap);

    const Bitmap* bitmap() const { return _bitmap.get(); }
    int strokeCount() const { return _stroke_count; }
    // Hands the snapshot's memory back for reuse.
    std::unique_ptr<Bitmap> takeBitmap() { return std::move(_bitmap); }

private:
    std::unique_ptr<Bitmap> _bitmap;
    int _stroke_count;
};

// Snapshots of a canvas's draw bitmap in increasing stroke count, so that a
// redraw can start from the nearest snapshot at or below the first changed
// stroke instead of from the bottom. Entry 0 (count 0, no bitmap: the empty
// picture) is always present.
//
// Snapshots taken while strokes are added one by one are at least _min_step
// strokes apart near the top, and the allowed gap grows by
// _step_multiplication_factor at every older entry (thinning), so the number
// of snapshots grows about logarithmically with the number of strokes.
//
// Snapshots that are dropped keep their memory as spares for the next ones,
// as long as snapshots and spares together stay within the largest number of
// snapshots the buffer has held: a new snapshot is then a plain copy into
// memory already in use rather than into fresh pages, which costs many times
// more. releaseSpareBitmaps() gives the memory back.
class RewindBuffer {
public:
    RewindBuffer();
    ~RewindBuffer();
    RewindBuffer(const RewindBuffer&) = delete;
    RewindBuffer& operator=(const RewindBuffer&) = delete;

    // Whether a stroke added on top, making the count n, deserves a snapshot.
    bool wantsToRecordStroke(int n) const;
    // Whether a redraw of n strokes that has just painted index i should
    // leave a snapshot there. Snapshots crowd towards the top of the list.
    bool wantsToRecordStroke(int i, int n) const;
    // After adding a stroke (n is the new count): records a copy of bitmap
    // when wanted, then thins the buffer.
    void recordStroke(int n, const Bitmap& bitmap);
    // During a redraw: records a copy of bitmap labelled i when wanted; no
    // thinning.
    void recordStroke(int i, int n, const Bitmap& bitmap);

    // The newest snapshot labelled k or lower: k becomes its label; the
    // result is its bitmap, null for the empty picture.
    const Bitmap* bitmapBeforeStroke(int& k) const;
    // Drops the snapshots labelled above n.
    void removeStrokesRecordedAfter(int n);
    // Drops every snapshot but entry 0.
    void clear();
    // Thins the buffer so that older snapshots lie further apart.
    void optimizeBuffer();

    // Observation (tests, benchmarks).
    int entryCount() const { return int(_buffer.size()); }
    const BufferEntry& entry(int index) const { return *_buffer[std::size_t(index)]; }
    std::vector<int> strokeCounts() const;
    // Bytes of pixel memory held by the snapshots.
    std::size_t byteCount() const;
    // Bytes of pixel memory kept for reuse.
    std::size_t spareByteCount() const;
    void releaseSpareBitmaps();

private:
    int lastStrokeCount() const { return _buffer.back()->strokeCount(); }
    void append(int strokeCount, const Bitmap& bitmap);
    // Drops the entry at index (never entry 0), keeping its memory if allowed.
    void removeEntry(std::size_t index);

    int _min_step = 10;
    float _step_multiplication_factor = 1.5f;
    std::vector<std::unique_ptr<BufferEntry>> _buffer;
    std::vector<std::unique_ptr<Bitmap>> _spare;
    std::size_t _most_entries = 1;
};
