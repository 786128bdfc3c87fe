#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelDataType.h"
#include "QelRect.h"
#include "ZanRefCount.h"

class QelSimpleDataOrg;

// How bands, pixels and lines follow each other in memory. The underlying type is fixed so that
// other values can be rejected.
enum QelLayout : int {
    PIXEL_INTERLEAVED = 0,  // all bands of a pixel side by side
    LINE_INTERLEAVED = 1,   // a line of one band, then the same line of the next
    BAND_INTERLEAVED = 2,   // one whole band, then the next ("planar")
    SPELLED_OUT = 3         // strides and band offsets given one by one
};

// The enumerator's name; "UNKNOWN" for any other value.
QEL_API std::ostream & operator<<(std::ostream & out, QelLayout layout);
// Reads such a name; any other word sets failbit and leaves `layout`.
QEL_API std::istream & operator>>(std::istream & in, QelLayout & layout);

// A data organisation: how the pixels of one rectangle ("tile") lie in memory, without holding
// any memory, and the tile grid of an image: the tile size and the origin of tile (0,0).
//
// Organisations are immutable once built, so images, tiles, buffers and threads share them; each
// change makes a new one. Held by MoxSmartPtr: the `with` operations may return the organisation
// itself, or a clone if it has no owner, and objects made with it may keep it. Never on a stack,
// except for operations that only read it.
//
// Positions and sizes are in pixels, offsets and strides in bytes.
class QEL_API QelDataOrg : public ZanRefCount {
  public:
    virtual ~QelDataOrg();

    // A new organisation of the same class.
    virtual MoxSmartPtr<QelDataOrg> clone() const = 0;

    // Bytes needed for one tile; never negative.
    virtual std::int64_t size() const = 0;

    // The bands' common type, or Mixed. Error for an organisation without bands.
    virtual QelDataType precision() const;

    // Do both address memory alike? The origin is ignored. With `sizeOnly` element types need only
    // have equal sizes.
    virtual bool isCompatible(QelDataOrg const & other, bool sizeOnly) const = 0;

    // A capability test, see QelSimpleDataOrg::satisfies(). False here.
    virtual bool satisfies(std::uint32_t flags) const;

    // isCompatible(other, false), unless a class overrides it with a weaker test.
    virtual bool sameDataType(QelDataOrg const & other) const;

    // Are all gaps between consecutive bands equal? True here with two bands or fewer.
    virtual bool uniformBandOffsets() const;

    // A new organisation of only the `count` bands listed. Null here.
    virtual MoxSmartPtr<QelDataOrg> selectBands(int count, int const * indices) const;

    // Bytes from the top-left pixel to pixel (x, y), for one band or without a band's own offset.
    virtual std::int64_t offset(std::int32_t x, std::int32_t y, int band) const = 0;
    virtual std::int64_t offset(std::int32_t x, std::int32_t y) const = 0;

    virtual void print(std::ostream & out) const;

    // This organisation with one thing changed: itself when nothing changes, null when its class
    // cannot do that (the default).
    virtual MoxSmartPtr<QelDataOrg> withBands(int bands) const;
    virtual MoxSmartPtr<QelDataOrg> withSize(std::int32_t width, std::int32_t height) const;
    virtual MoxSmartPtr<QelDataOrg> withDataType(QelDataType type) const;

    // A clone with another origin.
    virtual MoxSmartPtr<QelDataOrg> withOrigin(std::int32_t x, std::int32_t y) const;

    // The type of one band; std::out_of_range for a bad index.
    virtual QelDataType precision(int band) const;

    virtual MoxSmartPtr<QelDataOrg> withLayout(QelLayout layout) const;

    // Image coordinates of the top-left pixel of tile (0,0).
    std::int32_t originX() const { return originX_; }
    std::int32_t originY() const { return originY_; }
    // 0 means undecided.
    std::int32_t tileWidth() const { return tileWidth_; }
    std::int32_t tileHeight() const { return tileHeight_; }
    std::int32_t numBands() const { return numBands_; }
    std::vector<QelDataType> const & bandTypes() const { return bandTypes_; }
    bool uniformType() const { return uniformType_; }

    // The grid column (row) that holds image column x (row y), rounding down for negative
    // positions. A tile size below 1 gives index 0.
    std::int32_t tileIndexX(std::int32_t x) const;
    std::int32_t tileIndexY(std::int32_t y) const;
    // Also the distance from that tile's first column (row).
    void tileIndexWithRemainderX(std::int32_t x, std::int32_t & index,
                                 std::int32_t & remainder) const;
    void tileIndexWithRemainderY(std::int32_t y, std::int32_t & index,
                                 std::int32_t & remainder) const;

    // Do the first and the last pixel of `rect` lie in one tile? (tileX, tileY) is the tile of
    // its top-left pixel in any case.
    bool isOneTile(QelRect const & rect, std::int32_t & tileX, std::int32_t & tileY) const;
    bool isOneTile(QelRect const & rect) const;

    // The image rectangle of tile (x, y). Raises invalidValue (13) when a coordinate does not fit
    // in 32 bits.
    QelRect tileRect(std::int32_t x, std::int32_t y) const;

    // This as a QelSimpleDataOrg, or null; cheaper than a dynamic_cast.
    QelSimpleDataOrg const * asSimple() const { return simple_; }

  protected:
    QelDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, std::vector<QelDataType> bandTypes);
    QelDataOrg(QelDataOrg const & other);
    QelDataOrg & operator=(QelDataOrg const &) = delete;

    // For classes that build a changed copy, before it is shared.
    void setOrigin(std::int32_t x, std::int32_t y);

    // The organisation itself as the result of an operation that changes nothing; a clone if it has
    // no owner, since the result's reference could delete it.
    MoxSmartPtr<QelDataOrg> self() const {
        return refCount() > 0 ? MoxSmartPtr<QelDataOrg>(const_cast<QelDataOrg *>(this)) : clone();
    }

  private:
    friend class QelSimpleDataOrg;

    std::int32_t originX_ = 0;
    std::int32_t originY_ = 0;
    std::int32_t tileWidth_;
    std::int32_t tileHeight_;
    std::int32_t numBands_;
    std::vector<QelDataType> bandTypes_;
    bool uniformType_;
    QelSimpleDataOrg const * simple_ = nullptr;
};
