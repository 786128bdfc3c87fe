#pragma once

#include <cstdint>

#include "MoxSmartPtr.h"
#include "QelRect.h"
#include "QelRectBuffer.h"
#include "QelSimpleDataOrg.h"

// Walks the elements of a rectangle of one buffer in a chosen order of pixels, lines and bands, by
// adding distances computed in advance. This base works in bytes; QelRectBufferConstIter and
// QelRectBufferIter (QelRectBufferIter.h) give it an element type.
//
//     for (iter.initialize(); !iter.done(); iter.next())
//         use(iter.address());
//
// Two stages: the constructor records what to walk, initialize() examines the buffer and goes to
// the start. Until then the iterator is done.
//
// Belongs to one thread. Holds a reference to the buffer if that has owners; otherwise the buffer
// must outlive it.
class QEL_API QelSimpleRectBufferIter {
  public:
    // Orders, innermost loop first.
    static constexpr std::int32_t pixelLineBand = 0;
    static constexpr std::int32_t linePixelBand = 1;
    static constexpr std::int32_t bandPixelLine = 2;
    static constexpr std::int32_t bandLinePixel = 3;
    static constexpr std::int32_t pixelBandLine = 4;
    static constexpr std::int32_t lineBandPixel = 5;
    // The order that places bands among pixels and lines by their distance: bandPixelLine,
    // pixelBandLine or pixelLineBand. Pixels always come before lines.
    static constexpr std::int32_t automatic = 6;

    // `rect`, in image coordinates, is clipped to the buffer's. With `reverseX` columns are walked
    // from right to left, with `reverseY` rows from the bottom up. Iterators over several buffers
    // that are walked in step are chained through `next`, which is not owned, so that initialize()
    // sets all of them up; a chain must not form a ring. Raises nullPointer (4) for a null buffer.
    QelSimpleRectBufferIter(QelRectBuffer * buffer, QelRect const & rect,
                            std::int32_t loopOrder = automatic, bool reverseX = false,
                            bool reverseY = false, QelSimpleRectBufferIter * next = nullptr);
    // The whole buffer, in automatic order.
    explicit QelSimpleRectBufferIter(QelRectBuffer * buffer);
    virtual ~QelSimpleRectBufferIter();
    QelSimpleRectBufferIter(QelSimpleRectBufferIter const &);
    QelSimpleRectBufferIter & operator=(QelSimpleRectBufferIter const &) = delete;

    // Goes to the first element, and allocates a buffer that has no memory; the chained iterators
    // come first, from the last one on. Without pixels to walk, or without a QelSimpleDataOrg, the
    // iterator is done at once. With `noAddress` it computes steps and order as if there were no
    // reversal, touches no memory, and stays done.
    //
    // Raises unevenBandOffsets (152) for bands at unequal distances; invalidDataOrg (153) for an
    // order above 5 that is not automatic, or below 0, and for the automatic order when bands lie
    // as far apart as pixels or as lines do, or closer together than pixels but not than lines.
    // This applies to several bands in BAND_INTERLEAVED strips one line high, in LINE_INTERLEAVED
    // strips one pixel wide, and in tiles of one pixel of either layout. An operation that may get
    // these should request an explicit order: any of them works. The iterator is done then.
    void initialize(bool noAddress = false);

    // To the next element in loop order. Does nothing when done.
    void next() {
        current_ += step_;
        if (current_ == runEnd_) leaveRun();
    }
    bool done() const { return done_; }

    // The address of the current element. Requires: !done().
    std::uint8_t * address() const { return current_; }

    // The elements from the current one on that lie runStep() bytes apart: the rest of the
    // innermost loop, and as many of the loops around it as continue with the same step. nextRun()
    // goes to the element after them.
    std::int64_t runLength() const;
    std::int64_t runStep() const { return step_; }
    void nextRun();

    // Set by initialize(): what is walked, in which order, and the distances in bytes. A reversed
    // axis has the negated distance.
    QelRect const & rect() const { return rect_; }
    std::int32_t loopOrder() const { return loopOrder_; }
    std::int64_t pixelStep() const { return pixelStep_; }
    std::int64_t lineStep() const { return lineStep_; }
    std::int64_t bandStep() const { return bandStep_; }
    std::int64_t innerStep() const { return levels_[0].step; }
    std::int64_t middleStep() const { return levels_[1].step; }
    std::int64_t outerStep() const { return levels_[2].step; }

    bool reverseX() const { return reverseX_; }
    bool reverseY() const { return reverseY_; }
    QelRectBuffer * buffer() const { return buffer_; }
    QelSimpleRectBufferIter * nextIter() const { return nextIter_; }

  protected:
    // Called by initialize() when there are pixels to walk; may reject the buffer.
    virtual void checkElements(QelSimpleDataOrg const & org) const;

  private:
    // One loop: `count` steps of `step` bytes.
    struct Level {
        std::int64_t step = 0;
        std::int64_t count = 1;
    };

    void initializeThis(bool noAddress);
    void makeEmpty();
    void reverse();
    void chooseOrder();
    void assignLevels(std::int32_t bands);
    void joinLevels();
    void start(QelSimpleDataOrg const & org);
    void leaveRun();

    // Used by the inner loop.
    std::uint8_t * current_ = nullptr;
    std::uint8_t * runEnd_ = nullptr;
    std::int64_t step_ = 0;
    bool done_ = true;

    Level levels_[3];            // inner, middle, outer
    Level joined_[3];            // the same walk in as few loops as possible
    std::int64_t repeated_ = 0;  // steps done of a run that does not move
    std::int64_t middleIndex_ = 0;
    std::int64_t outerIndex_ = 0;
    std::int64_t middleAdvance_ = 0;  // from the end of a run to the start of the next one
    std::int64_t outerAdvance_ = 0;   // the extra distance to the next middle loop

    QelRectBuffer * buffer_;
    MoxSmartPtr<QelRectBuffer> keep_;  // null for a buffer without owners, on a stack say
    QelRect wanted_;
    std::int32_t wantedOrder_;
    QelRect rect_;
    std::int32_t loopOrder_;
    bool reverseX_;
    bool reverseY_;
    std::int64_t pixelStep_ = 0;
    std::int64_t lineStep_ = 0;
    std::int64_t bandStep_ = 0;
    QelSimpleRectBufferIter * nextIter_;
};
