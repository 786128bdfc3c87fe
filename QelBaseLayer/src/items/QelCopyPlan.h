#pragma once

#include <cstdint>

#include "QelRect.h"

// How a rectangle of pixels is copied from one organisation into another, worked out from counts
// and strides alone: no address, no element type, nothing allocated. The plans are plain records;
// QelRectBuffer::copyFrom makes them and carries them out.
//
// All distances are in bytes. "Start" fields lead from the rectangle's first pixel in band 0 to
// the element at which a plan begins; the first pixel is the top-left one.

// Elements in a row, and the distance between neighbours on either side.
struct QelCopyAxis {
    std::int64_t count;
    std::int64_t source;
    std::int64_t target;
};

// What is to be copied.
struct QelCopyLayout {
    QelCopyAxis x;
    QelCopyAxis y;
    QelCopyAxis band;         // as many as both sides have; strides mean something if `uniform`
    std::int64_t sourceSize;  // bytes per element
    std::int64_t targetSize;
    bool sameType;
    bool uniform;  // are the bands of both sides evenly spaced?
};

// Returns whether there is something to copy in an intersection of rectangles. Raises invalidValue
// (13) for a negative width or height, which no intersection has.
bool qelCopyHasPixels(QelRect const & area);

// ---- Block path: whole runs of bytes.

struct QelCopyBlocks {
    std::int64_t bytes = 0;  // per run; 0 when the layouts have no runs worth it
    std::int64_t count = 0;
    std::int64_t sourceStep = 0;
    std::int64_t targetStep = 0;
    std::int64_t sourceStart = 0;
    std::int64_t targetStart = 0;
    bool perBand = false;  // once per band; otherwise one pass covers all bands
};

// Runs for a rectangle wider or higher than 63 pixels whose sides have the same type: a band's
// rows or columns, or those of whole pixels, in one run if they follow each other without a gap,
// otherwise one by one if they are longer than 63 bytes. Rows and pixels below that are faster in
// the element path, since each run costs a call.
QelCopyBlocks qelPlanBlocks(QelCopyLayout const & layout);

// ---- Element path: three nested loops.

// The inner, middle and outer loop. A gap is what a loop level adds after its last element beyond
// what the inner levels have already moved; only levels whose gap is not 0 need a separate loop.
// `shape` has a bit for each gap to be added:
//   1  source, after the inner loop     2  source, after the middle loop
//   4  target, after the inner loop     8  target, after the middle loop
struct QelCopyLoops {
    static constexpr int shapes = 16;

    std::int64_t inner;
    std::int64_t middle;
    std::int64_t outer;
    std::int64_t sourceStep;
    std::int64_t targetStep;
    std::int64_t sourceGap1;
    std::int64_t targetGap1;
    std::int64_t sourceGap2;
    std::int64_t targetGap2;
    std::int64_t sourceStart;
    std::int64_t targetStart;
    int shape;
};

enum class QelCopyOrder {
    Ascending,   // source addresses ascend
    Descending,  // they descend, but within rows that are contiguous on both sides
};

// Sorts the axes so that the source's largest stride is outermost; axes of one element go outside
// all others. Makes source strides positive, or negative for Descending, which is what overlapping
// memory needs when the target lies above the source.
QelCopyLoops qelPlanLoops(QelCopyLayout const & layout, QelCopyOrder order);

// ---- Element path: bands taken apart or put together.

// One side has its 2 to 4 bands side by side, the other one a row of pixels for each band: the
// everyday case of the element path, for which there are kernels that read and write whole vectors.
struct QelCopyBands {
    enum Kind { None, Split, Join };

    Kind kind = None;
    std::int64_t pixels = 0;  // per row
    std::int64_t rows = 0;
    std::int64_t sourceStep = 0;  // from row to row
    std::int64_t targetStep = 0;
    std::int64_t bandStep = 0;  // on the side that has them apart
    std::int64_t sourceStart = 0;
    std::int64_t targetStart = 0;
};

// Requires: source and target do not overlap.
QelCopyBands qelPlanBands(QelCopyLayout const & layout);

// ---- Overlap.

// Bytes that a rectangle reaches around the address of its first pixel in band 0.
struct QelCopyReach {
    std::int64_t before;  // not negative
    std::int64_t after;   // one past the last byte
};

QelCopyReach qelSourceReach(QelCopyLayout const & layout);
QelCopyReach qelTargetReach(QelCopyLayout const & layout);

// Do both sides address memory alike, so that there is an order of elements in which overlapping
// memory copies correctly?
bool qelCopyStridesAlike(QelCopyLayout const & layout);
