#pragma once

#include <atomic>
#include <cstdint>

#include "MoxSmartPtr.h"
#include "QelDataOrg.h"
#include "ZanError.h"

// What an op reports of the image it will produce: size, bands, element type, layout and tile
// geometry, and a status whose code 0 means good. A value; several threads may call const
// operations.
class QEL_API QelImageInfo {
  public:
    // 0 by 0.
    QelImageInfo();
    // Pixels.
    QelImageInfo(std::int32_t width, std::int32_t height);

    QelImageInfo(QelImageInfo const & other);
    // Clones the data organisation, copies the rest.
    QelImageInfo & operator=(QelImageInfo const & other);
    ~QelImageInfo();

    void setWidth(std::int32_t width) { width_ = width; }
    void setHeight(std::int32_t height) { height_ = height; }
    void setSize(std::int32_t width, std::int32_t height);
    std::int32_t width() const { return width_; }
    std::int32_t height() const { return height_; }

    void setStatus(ZanError const & status) { status_ = status; }
    ZanError status() const { return status_; }

    // Has the op's report been taken?
    bool computed() const { return computed_; }
    void setComputed(bool computed) { computed_ = computed; }

    // The organisation; made on first use, with the default tile size of QelSystemConfig and one
    // band of UChar, PIXEL_INTERLEAVED, at (0,0).
    MoxSmartPtr<QelDataOrg> dataOrg() const;
    // Shares `org`, which may be null.
    void setDataOrg(MoxSmartPtr<QelDataOrg> org);

    std::int32_t numBands() const { return dataOrg()->numBands(); }
    QelDataType precision() const { return dataOrg()->precision(); }
    // Origin and tile size of the grid.
    QelRect tileRect() const;
    // SPELLED_OUT unless dataOrg() is a QelSimpleDataOrg.
    QelLayout layout() const;

    // In a report without an organisation the first two make one: default tile size,
    // PIXEL_INTERLEAVED, `n` bands of UChar, or three bands of `type`.
    void setNumBands(int n);
    void setPrecision(QelDataType type);
    void setTileSize(std::int32_t width, std::int32_t height);
    void setOrigin(std::int32_t x, std::int32_t y);
    void setTileRect(QelRect const & rect);
    // Requires: dataOrg() is a QelSimpleDataOrg.
    void setLayout(QelLayout layout);

    // Is the tile of `org` as large as the image?
    bool sameSize(QelDataOrg const * org) const;
    // Is `org` a QelSimpleDataOrg without gaps between lines and, with three bands or more,
    // between bands?
    bool isDense(QelDataOrg const * org) const;
    // Could the image be written through `org`: does it address memory like dataOrg(), or is it a
    // QelSimpleDataOrg with the same number and type of bands?
    bool acceptsDataOrg(QelDataOrg const * org) const;

  private:
    // A counted organisation that is set once while threads read, and later changes only without
    // readers.
    class LateOrg {
      public:
        LateOrg() = default;
        LateOrg(LateOrg const &) = delete;
        LateOrg & operator=(LateOrg const &) = delete;
        ~LateOrg() { set(nullptr); }

        MoxSmartPtr<QelDataOrg> get() const { return org_.load(std::memory_order_acquire); }
        // Keeps an existing one. Returns the one now in place.
        MoxSmartPtr<QelDataOrg> setIfNull(MoxSmartPtr<QelDataOrg> org);
        void set(MoxSmartPtr<QelDataOrg> org);

      private:
        std::atomic<QelDataOrg *> org_{nullptr};
    };

    mutable LateOrg dataOrg_;
    ZanError status_{"", 0, __FILE__, __LINE__};
    bool computed_ = false;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
};
