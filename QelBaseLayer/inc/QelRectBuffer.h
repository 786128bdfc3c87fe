#pragma once

#include <cstdint>
#include <iosfwd>

#include "QelDataBuffer.h"
#include "QelDataOrg.h"
#include "QelRect.h"
#include "QelRenderedItem.h"

class QelImageOp;

// A rectangle of pixels at a position in image coordinates. Its rectangle, its organisation and
// its memory are three separate things: a buffer can be a view into another one, can be moved
// without touching pixels, and can be given memory late.
//
// Held by MoxSmartPtr where it is shared; may also live on a stack, as long as only operations
// that take a plain pointer see it. Its fields have no lock: one thread changes a buffer, and
// sharers of one memory write disjoint pixels by agreement. Several threads may call const
// operations, even when these allocate; but a buffer whose memory was dropped (releaseData())
// belongs to one thread until it has memory again.
class QEL_API QelRectBuffer : public QelRenderedItem {
  public:
    // An empty rectangle, with one byte of one-band UChar to come.
    QelRectBuffer();

    // The whole result of `op` (QelImageOp::genResult); raises what that raises, and nullPointer
    // (4) for null.
    explicit QelRectBuffer(QelImageOp * op);

    // In all that follow: `memory` is the caller's memory, which the buffer wraps and frees if
    // `ownsData` (see QelDataBuffer). That has no default: the buffer must not free an array on a
    // stack, but may own memory from ::operator new. Without `memory`, or with null, the buffer
    // allocates its own when needed. For such memory and a negative stride, the data offset keeps
    // the lowest address inside the buffer. They raise what the organisation raises.

    // At (0,0), with the standard organisation of `layout`.
    QelRectBuffer(std::int32_t width, std::int32_t height, int bands, QelLayout layout,
                  QelDataType type);
    QelRectBuffer(std::int32_t width, std::int32_t height, int bands, QelLayout layout,
                  QelDataType type, void * memory, bool ownsData);
    // The same with the organisation's origin at the corner of `rect`.
    QelRectBuffer(QelRect const & rect, int bands, QelLayout layout, QelDataType type);
    QelRectBuffer(QelRect const & rect, int bands, QelLayout layout, QelDataType type,
                  void * memory, bool ownsData);
    // The same, with the pixels `offset` bytes into at least `minBytes` of memory, allocated later.
    QelRectBuffer(std::int64_t minBytes, std::int64_t offset, QelRect const & rect, int bands,
                  QelLayout layout, QelDataType type);
    // With a clone of `org`, which is only read and stays the caller's: one without references is
    // not deleted. With `cloneOrg` false the buffer shares `org` itself and becomes one of its
    // owners, maybe the only one. A width or height of -1 means its tile size. Raises nullPointer
    // (4) for a null `org`.
    QelRectBuffer(QelDataOrg * org, std::int32_t x, std::int32_t y, std::int32_t width,
                  std::int32_t height);
    QelRectBuffer(QelDataOrg * org, std::int32_t x, std::int32_t y, std::int32_t width,
                  std::int32_t height, void * memory, bool ownsData, bool cloneOrg = true);
    // With a clone of `org`, which stays the caller's, enlarged to `rect` if it is smaller; raises
    // unsupported (9) if it cannot be enlarged. A null `org` leaves the buffer without organisation
    // and memory: operations that need them raise nullPointer (4), or unexpectedException (10) if
    // they allocate.
    QelRectBuffer(QelDataOrg * org, QelRect const & rect);
    QelRectBuffer(QelDataOrg * org, QelRect const & rect, void * memory, bool ownsData);

    // A view of the same memory.
    QelRectBuffer(QelRectBuffer const & other);

    ~QelRectBuffer() override;

    // Raises misuse (3): a plain buffer cannot compute itself.
    void compute() override;
    void setComplete(bool value) override;
    // "RectBuffer[(x,y,w,h),org,offset]"
    void print(std::ostream & out) const override;
    void printDependencies(std::ostream & out) const override;

    // The address of the top-left pixel of rect(); allocates if needed.
    virtual std::uint8_t * getData();
    virtual std::uint8_t const * getData() const;

    bool isAllocated() const { return dataBuffer_ && dataBuffer_->data() != nullptr; }

    // Gives the buffer memory now. Raises unexpectedException (10), with "Failed to allocate a
    // memory buffer of size ", and leaves the buffer unallocated.
    void allocate();

    // Replaces the memory by the caller's, of the organisation's size (more, where the data offset
    // or a negative stride needs it). Raises nullPointer (4) on null.
    void adopt(void * memory, bool ownsData);

    // Drops the memory; its last sharer frees it.
    void releaseData() { dataBuffer_.release(); }

    // Changes rect() only. Requires: the organisation and the memory, if any, have room for it.
    void setRect(QelRect const & rect) { rect_ = rect; }

    // A view of the pixels of `rect` in this buffer; its rectangle is empty if there are none.
    MoxSmartPtr<QelRectBuffer> subBuffer(QelRect const & rect) const;

    // A view of the same pixels under coordinates moved by (dx, dy). Raises invalidValue (13) when
    // a coordinate does not fit in 32 bits.
    MoxSmartPtr<QelRectBuffer> translated(std::int32_t dx, std::int32_t dy) const;

    // Bytes from the start of the data buffer to pixel (x, y), in image coordinates, which need not
    // be a pixel of rect(). This and the next raise invalidValue (13) when the distance from the
    // corner of rect() does not fit in 32 bits.
    std::int64_t offsetOf(std::int32_t x, std::int32_t y) const;
    // The address of pixel (x, y), without the band offset; allocates if needed.
    std::uint8_t * addressOf(std::int32_t x, std::int32_t y);
    std::uint8_t const * addressOf(std::int32_t x, std::int32_t y) const;

    // In bytes.
    std::int64_t pixelStride() const;
    std::int64_t lineStride() const;
    // In elements; written only for a QelSimpleDataOrg.
    void getStrides(std::int32_t & pixel, std::int32_t & line, std::int32_t & band) const;
    // `type` is written only for a QelSimpleDataOrg.
    void getGeometry(std::int32_t & width, std::int32_t & height, std::int32_t & bands,
                     QelDataType & type) const;
    std::int32_t numBands() const;
    QelDataType precision(int band) const;

    // Owners of this buffer, plus owners of its memory, minus one: 1 for a private buffer with
    // private memory. A buffer without memory, given or pending, counts only its own owners.
    std::int32_t referenceCount() const;

    // Takes the memory of `other`, which becomes unallocated, ready to be computed again.
    void stealData(QelRectBuffer & other);

    // Shares the memory of `other` if both organisations address it alike and this buffer's own
    // memory has no other sharer; returns whether it did. With `takeOffset` element types need only
    // have equal sizes, and the data offset is taken over as well.
    bool shareData(QelRectBuffer & other, bool takeOffset);

    // Copies the pixels of `rect` that both buffers have, and as many bands as both have,
    // converting element types. Conversion neither rounds nor saturates: floats are truncated
    // towards zero to 32 bits and stored by their low bytes (300.7 as UChar is 44); a float outside
    // 32 bits, or NaN, stores the low bytes of 0x80000000, except for ULong, where 2^31 to 2^32
    // converts. Allocates what is not allocated; does nothing when there is no common pixel. Raises
    // simpleDataOrgNeeded (150) unless both organisations are QelSimpleDataOrg, and invalidValue
    // (13) for a type it cannot copy. Overlapping views of one memory are copied as if through a
    // third buffer when both organisations are alike and each row (or each column) is contiguous.
    void copyFrom(QelRectBuffer const & source, QelRect const & rect);

    MoxSmartPtr<QelDataBuffer> const & dataBuffer() const { return dataBuffer_; }
    QelRect const & rect() const { return rect_; }
    MoxSmartPtr<QelDataOrg> const & dataOrg() const { return dataOrg_; }
    // Bytes from the start of the data buffer to the top-left pixel.
    std::int64_t dataOffset() const { return dataOffset_; }

    // Size of the whole image that this buffer belongs to; 0 when it is not known.
    std::int32_t fullWidth() const { return fullWidth_; }
    std::int32_t fullHeight() const { return fullHeight_; }
    void setFullSize(std::int32_t width, std::int32_t height) {
        fullWidth_ = width;
        fullHeight_ = height;
    }

  protected:
    // For tiles: the part of the storage of `org` that starts at `dataOffset` bytes.
    void setDataOffset(std::int64_t dataOffset) { dataOffset_ = dataOffset; }

  private:
    // The organisation; raises nullPointer (4) when there is none.
    QelDataOrg const & org() const;
    void setMemory(void * memory, bool ownsData);
    void allocateAnew(std::int64_t & bytes);
    // Bytes that a data buffer needs for the organisation's tile and for rect(), given the data
    // offset.
    std::int64_t storageBytes() const;
    // Bytes by which a width by height rectangle at the data offset extends below the start of the
    // data buffer; 0 if it does not.
    std::int64_t missingBefore(std::int32_t width, std::int32_t height) const;
    // Bytes from the top-left pixel to pixel (x, y).
    std::int64_t distanceTo(std::int32_t x, std::int32_t y) const;

    MoxSmartPtr<QelDataBuffer> dataBuffer_;
    QelRect rect_;
    MoxSmartPtr<QelDataOrg> dataOrg_;
    std::int64_t dataOffset_ = 0;
    std::int32_t fullWidth_ = 0;
    std::int32_t fullHeight_ = 0;
};
