#pragma once

#include <initializer_list>
#include <vector>

#include "QelDataOrg.h"

// The general data organisation: pixel (x, y) of band b lies at
//     bandOffsets[b] + pixelStride * x + lineStride * y
// bytes from the start. Strides may be negative; the creator of a buffer with such an
// organisation then starts it at the far end (QelRectBuffer does).
//
// Strides of the layouts, with `size` the bytes of an element of the first band:
//
//                      pixel stride    line stride                 band step
//   PIXEL_INTERLEAVED  size * bands    size * bands * tileWidth    size
//   LINE_INTERLEAVED   size            size * bands * tileWidth    size * tileWidth
//   BAND_INTERLEAVED   size            size * tileWidth            size * tileWidth * tileHeight
//   SPELLED_OUT        given           given                       given, as a list of offsets
//
// Every constructor computes in 64 bits and raises invalidValue (13), with the numbers in its text,
// for a stride or an offset that does not fit in 32; also for a negative number of bands or tile
// size.
class QEL_API QelSimpleDataOrg : public QelDataOrg {
  public:
    static constexpr QelLayout PIXEL_INTERLEAVED = ::PIXEL_INTERLEAVED;
    static constexpr QelLayout LINE_INTERLEAVED = ::LINE_INTERLEAVED;
    static constexpr QelLayout BAND_INTERLEAVED = ::BAND_INTERLEAVED;
    static constexpr QelLayout SPELLED_OUT = ::SPELLED_OUT;

    // Bits of satisfies(): each waives one condition.
    static constexpr std::uint32_t waiveDenseLines = 0x01;
    static constexpr std::uint32_t waivePositiveStep = 0x02;
    static constexpr std::uint32_t waiveUniformOffsets = 0x08;
    static constexpr std::uint32_t waivePixelInterleaved = 0x20;
    static constexpr std::uint32_t waiveBandInterleaved = 0x40;

    // The standard organisation of a layout; SPELLED_OUT gets the strides and offsets of
    // PIXEL_INTERLEAVED. Raises unsupported (9) for any other layout.
    QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, QelDataType type, int bands,
                     QelLayout layout);

    // SPELLED_OUT with `bands` offsets, in bytes. The list forms raise invalidValue (13) when the
    // list holds fewer.
    QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, QelDataType type, int bands,
                     std::int32_t const * offsets, std::int32_t pixelStride,
                     std::int32_t lineStride);
    QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, QelDataType type, int bands,
                     std::vector<std::int32_t> const & offsets, std::int32_t pixelStride,
                     std::int32_t lineStride);
    QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, QelDataType type, int bands,
                     std::initializer_list<std::int32_t> offsets, std::int32_t pixelStride,
                     std::int32_t lineStride)
        : QelSimpleDataOrg(tileWidth, tileHeight, type, bands, std::vector<std::int32_t>(offsets),
                           pixelStride, lineStride) {}

    // Band selection: the listed bands of `source`, in the order listed, as SPELLED_OUT. The
    // origin is copied. std::out_of_range for a bad index.
    QelSimpleDataOrg(QelSimpleDataOrg const & source, int count, int const * indices);

    // Resize: `source` with another tile size. The origin is copied. With `recompute` the line
    // stride and the band offsets follow the new size; otherwise all strides stay. Releases the
    // reference to the source: never pass one on a stack. Raises unsupported (9) when asked to
    // recompute a SPELLED_OUT source.
    QelSimpleDataOrg(MoxSmartPtr<QelSimpleDataOrg> source, std::int32_t tileWidth,
                     std::int32_t tileHeight, bool recompute);

    ~QelSimpleDataOrg() override;

    MoxSmartPtr<QelDataOrg> clone() const override;
    // The offset of the last byte in use plus one; a negative stride contributes nothing.
    std::int64_t size() const override { return totalSize_; }
    // Equal first types (or their sizes), tile sizes, band counts, strides and band offsets.
    bool isCompatible(QelDataOrg const & other, bool sizeOnly) const override;

    // Do all these hold, except those waived by a bit of `flags`? The layout is PIXEL_INTERLEAVED
    // (waived by 0x20); it is BAND_INTERLEAVED (0x40); lines are dense (0x01); the band offsets
    // form an arithmetic series (0x08) with a positive step (0x02). With flags 0 a
    // PIXEL_INTERLEAVED organisation must also be dense across bands. The two layout conditions
    // exclude each other, so a caller passes at least one of those bits.
    bool satisfies(std::uint32_t flags) const override;

    // The same band count and the same first type.
    bool sameDataType(QelDataOrg const & other) const override;
    bool uniformBandOffsets() const override { return uniformOffsets_; }
    MoxSmartPtr<QelDataOrg> selectBands(int count, int const * indices) const override;

    // std::out_of_range for a bad band.
    std::int64_t offset(std::int32_t x, std::int32_t y, int band) const override;
    std::int64_t offset(std::int32_t x, std::int32_t y) const override {
        return std::int64_t{pixelStride_} * x + std::int64_t{lineStride_} * y;
    }

    // "SimpleDataOrg[x,y,tileWidth,tileHeight,pixelStride,lineStride,l=LAYOUT,offset,...]"
    void print(std::ostream & out) const override;

    MoxSmartPtr<QelDataOrg> withBands(int bands) const override;
    MoxSmartPtr<QelDataOrg> withSize(std::int32_t width, std::int32_t height) const override;
    MoxSmartPtr<QelDataOrg> withDataType(QelDataType type) const override;
    using QelDataOrg::precision;
    MoxSmartPtr<QelDataOrg> withLayout(QelLayout layout) const override;

    // What the `with` operations forward to: this when nothing changes, otherwise a standard
    // organisation with the other values and the origin kept.
    virtual MoxSmartPtr<QelSimpleDataOrg> makeWithBands(int bands) const;
    virtual MoxSmartPtr<QelSimpleDataOrg> makeWithSize(std::int32_t width,
                                                       std::int32_t height) const;
    virtual MoxSmartPtr<QelSimpleDataOrg> makeWithDataType(QelDataType type) const;
    virtual MoxSmartPtr<QelSimpleDataOrg> makeWithLayout(QelLayout layout) const;

    QelLayout layout() const { return layout_; }
    std::int32_t pixelStride() const { return pixelStride_; }
    std::int32_t lineStride() const { return lineStride_; }
    std::int64_t totalSize() const { return totalSize_; }
    std::vector<std::int32_t> const & bandOffsets() const { return bandOffsets_; }

    // bandOffsets[to] - bandOffsets[from]; std::out_of_range for a bad band.
    std::int64_t bandDelta(int from, int to) const;
    // All of them: entry [from * numBands + to]. Each call makes a new list.
    std::vector<std::int64_t> bandDeltas() const;
    // Always false: no two organisations share their deltas.
    bool deltasShared() const { return false; }

    // Bytes that the pixels of a width by height rectangle reach below (`before`, not negative)
    // and above (`after`: one past the last byte) the address of its top-left pixel.
    void reach(std::int32_t width, std::int32_t height, std::int64_t & before,
               std::int64_t & after) const;

  protected:
    QelSimpleDataOrg(QelSimpleDataOrg const & other);

    // Raises invalidValue (13) for a negative width or height.
    static void checkTileSize(std::int32_t width, std::int32_t height);

    // The text of print(), under another name.
    void printAs(char const * name, std::ostream & out) const;

  private:
    // What a constructor checked and worked out.
    struct Plan;
    static Plan standardPlan(std::int32_t tileWidth, std::int32_t tileHeight, QelDataType type,
                             int bands, QelLayout layout);
    static Plan listedPlan(std::int32_t tileWidth, std::int32_t tileHeight, QelDataType type,
                           int bands, std::int32_t const * offsets, std::int32_t pixelStride,
                           std::int32_t lineStride);
    static Plan selectedPlan(QelSimpleDataOrg const & source, int count, int const * indices);
    static Plan resizedPlan(QelSimpleDataOrg const * source, std::int32_t tileWidth,
                            std::int32_t tileHeight, bool recompute);
    QelSimpleDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, Plan && plan);

    QelDataType firstType() const;
    MoxSmartPtr<QelSimpleDataOrg> selfAsSimple() const;
    MoxSmartPtr<QelSimpleDataOrg> standardLike(std::int32_t width, std::int32_t height,
                                               QelDataType type, int bands, QelLayout layout) const;
    void derive();

    QelLayout layout_ = ::SPELLED_OUT;
    std::int32_t pixelStride_ = 0;
    std::int32_t lineStride_ = 0;
    std::int64_t totalSize_ = 0;
    std::vector<std::int32_t> bandOffsets_;
    bool uniformOffsets_ = true;
};
