#pragma once

#include <cstdint>

#include "QelDataOrg.h"
#include "QelXyRegion.h"
#include "QelXyRegionRegistryEntry.h"

// A rectangular region.
class QEL_API QelXySimpleRegion : public QelXyRegion {
  public:
    class QEL_API Iterator : public QelXyRegion::Iterator {
      public:
        // The tiles of the grid of `tiling` that contain the region's pixels. Keeps a region that
        // has owners. Raises nullPointer (4) "NULL region pointer passed to
        // QelXySimplRegion::Iterator ctr", and what pixelBounds() raises.
        Iterator(QelXySimpleRegion const * region, QelDataOrg const & tiling);
        ~Iterator() override;

        QelTileId tile() const override {
            return QelTileId(resolution_, static_cast<std::int32_t>(column_),
                             static_cast<std::int32_t>(row_));
        }
        bool isDone() const override { return row_ > lastRow_; }
        void next() override {
            if (++column_ <= lastColumn_) return;
            column_ = firstColumn_;
            ++row_;
        }

      private:
        MoxConstSmartPtr<QelXySimpleRegion> keep_;  // null for a region without owners
        std::int64_t column_ = 0;
        std::int64_t row_ = 0;
        std::int64_t firstColumn_ = 0;
        std::int64_t lastColumn_ = 0;  // inclusive, as lastRow_
        std::int64_t lastRow_ = -1;
        QelTileId resolution_;
    };

    // As in QelXyRegion.
    QelXySimpleRegion() = default;
    explicit QelXySimpleRegion(QelXyCoordSpace const * space) : QelXyRegion(space) {}
    QelXySimpleRegion(QelXyCoordSpace const * space, QelXyBox const & box)
        : QelXyRegion(space, box) {}
    QelXySimpleRegion(QelXyCoordSpace const * space, QelXyPoint const & topLeft,
                      QelXyPoint const & bottomRight)
        : QelXyRegion(space, topLeft, bottomRight) {}
    QelXySimpleRegion(QelXyCoordSpace const * space, QelValue const & x, QelValue const & y,
                      QelValue const & width, QelValue const & height)
        : QelXyRegion(space, x, y, width, height) {}
    QelXySimpleRegion(QelXyCoordSpace const * space, int x, int y, int width, int height)
        : QelXyRegion(space, x, y, width, height) {}
    template <class X, class Y, class Width, QelFloatingAmong<X, Y, Width> Height>
    QelXySimpleRegion(QelXyCoordSpace const * space, X x, Y y, Width width, Height height) = delete;
    QelXySimpleRegion(QelXyCoordSpace const * space, QelValueRange const & x,
                      QelValueRange const & y)
        : QelXyRegion(space, x, y) {}
    QelXySimpleRegion(QelXySimpleRegion const &) = default;
    QelXySimpleRegion & operator=(QelXySimpleRegion const &) = default;
    ~QelXySimpleRegion() override;

    MoxSmartPtr<QelRegion> clone() const override;

    // "QelXySimpleRegion[", the space or "NULL", ", ", the box and "]". read() raises
    // invalidValue (13) "Invalid QelXySimpleRegion value" for text that is neither, and what the
    // readers of the space and the box raise.
    void read(std::istream & in) override;
    void write(std::ostream & out) const override;
    bool equal(QelRegion const & other) const override;
};

// The registry entry of the class.
class QEL_API QelXySimpleRegionRegistryEntry : public QelXyRegionRegistryEntry {
  public:
    QelXySimpleRegionRegistryEntry();
    ~QelXySimpleRegionRegistryEntry() override;

    MoxSmartPtr<QelXyRegion> newRegion() const override;
    MoxSmartPtr<QelXyRegion> newRegion(QelXyCoordSpace const * space) const override;
};
