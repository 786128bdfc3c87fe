#pragma once

#include <cstdint>
#include <vector>

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelSimpleDataOrg.h"

// Reaches any pixel of an image in constant time, without a division: tables give the tile of each
// column and row, and the byte offset of each band. This base works in bytes; QelRandomConstIter
// and QelRandomIter (QelRandomIter.h) give it an element type.
//
// Holds the last tile used. An image that does not cache its tiles computes a tile again each time
// the iterator returns to it; with setCacheTiles(true) each is computed once.
//
// Belongs to one thread; any number of iterators may visit one image at once. The image must
// outlive it and keep its grid. The tables take 4 bytes for each column and each row of the image.
class QEL_API QelRandomIterBase {
  public:
    // Nothing is loaded. Raises nullPointer (4) for a null image, and simpleDataOrgNeeded (150)
    // unless the image's organisation is a QelSimpleDataOrg.
    explicit QelRandomIterBase(Qel2DImage * image);
    virtual ~QelRandomIterBase();
    QelRandomIterBase(QelRandomIterBase const &);
    QelRandomIterBase & operator=(QelRandomIterBase const &) = delete;

    // The band that address() refers to, 0 at first. std::out_of_range for a bad band.
    void setBand(std::int32_t band);
    std::int32_t band() const { return band_; }

    // The address of the current band of pixel (x, y), in image coordinates; it stays valid until
    // the iterator moves to another tile. Raises outOfBounds (151) outside the image, misuse (3)
    // when the tile is unavailable, and what computing it raises; the iterator then keeps its
    // current tile.
    std::uint8_t * address(std::int32_t x, std::int32_t y) {
        return pixelAddress(x, y) + bandOffset_;
    }
    // The same for band `band`. std::out_of_range for a bad band.
    std::uint8_t * address(std::int32_t x, std::int32_t y, std::int32_t band) {
        std::int64_t const offset = bandOffsets_.at(static_cast<std::size_t>(band));
        return pixelAddress(x, y) + offset;
    }

    // The pixels from (x, y) to the last of its row that lies in the same tile. Raises as
    // address() does.
    std::int64_t runLength(std::int32_t x, std::int32_t y) {
        pixelAddress(x, y);
        return tileWidth_ - (static_cast<std::uint32_t>(x) - tileLeft_);
    }

    // The elements of all bands of these pixels, where they follow each other in memory pixel by
    // pixel without a gap; 0 elsewhere. The first one lies at address(x, y, 0).
    std::int64_t allBandsLength(std::int32_t x, std::int32_t y) {
        std::int64_t const length = runLength(x, y);
        return pixelsAreDense_ ? length * static_cast<std::int64_t>(bandOffsets_.size()) : 0;
    }

    Qel2DImage * image() const { return image_; }
    QelSimpleDataOrg const & dataOrg() const { return *dataOrg_; }
    // In bytes.
    std::int64_t pixelStride() const { return pixelStride_; }
    // The tile in use; null before the first.
    QelTile * tile() const { return currentTile_.get(); }

  protected:
    // The tile at column x, row y of the grid: computed. Writing iterators use tileToWrite().
    virtual MoxSmartPtr<QelTile> tileAt(std::int32_t x, std::int32_t y);
    // The existing tile, or an empty one with its memory allocated: several threads may write to
    // one tile, each to different pixels.
    MoxSmartPtr<QelTile> tileToWrite(std::int32_t x, std::int32_t y);

  private:
    // The grid's column of each image column, or its row of each image row; -1 where no tile covers
    // it.
    using Table = std::vector<std::int32_t>;

    static Table makeTable(std::int32_t size, std::int32_t tileSize, std::int32_t firstTile,
                           std::int32_t skipped);
    static Table makeSingleTable(std::int32_t size, std::int64_t first, std::int64_t last);
    void makeTables();
    void makeTablesOfOneTile();

    // Of the pixel, without the band offset. Unsigned, so that one comparison checks both sides of
    // the tile.
    std::uint8_t * pixelAddress(std::int32_t x, std::int32_t y) {
        std::uint32_t const column = static_cast<std::uint32_t>(x) - tileLeft_;
        std::uint32_t const row = static_cast<std::uint32_t>(y) - tileTop_;
        if (column >= tileWidth_ || row >= tileHeight_) return turnTo(x, y);
        return origin_ + (column * pixelStride_ + row * lineStride_);
    }
    // The same for a pixel outside the current tile; its tile becomes the current one.
    std::uint8_t * turnTo(std::int32_t x, std::int32_t y);
    void use(MoxSmartPtr<QelTile> tile);
    bool isAsPlanned(QelTile const * tile, std::int32_t tileX, std::int32_t tileY) const;
    [[noreturn]] static void raiseOutside(char const * axis);
    [[noreturn]] void raiseNoTile(std::int32_t x, std::int32_t y) const;

    // Used by the inner loop.
    std::uint8_t * origin_ = nullptr;  // the first pixel of the current tile
    std::int64_t bandOffset_ = 0;
    std::int64_t pixelStride_ = 0;
    std::int64_t lineStride_ = 0;
    std::uint32_t tileLeft_ = 0;  // what the current tile covers; no pixel at first
    std::uint32_t tileTop_ = 0;
    std::uint32_t tileWidth_ = 0;
    std::uint32_t tileHeight_ = 0;
    Table columns_;
    Table rows_;
    std::vector<std::int64_t> bandOffsets_;

    bool pixelsAreDense_ = false;

    std::int32_t band_ = 0;
    MoxSmartPtr<QelTile> currentTile_;
    Qel2DImage * image_;
    MoxConstSmartPtr<QelSimpleDataOrg> dataOrg_;
    QelRect single_;  // what the only tile covers; empty in a grid of several
};
