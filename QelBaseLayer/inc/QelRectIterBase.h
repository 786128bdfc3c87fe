#pragma once

#include <cstdint>
#include <vector>

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelRect.h"
#include "QelSimpleDataOrg.h"

// Walks a rectangle of an image pixel by pixel and crosses tiles on its own, so that the loop of an
// operation never sees a tile edge. This base works in bytes; QelRectConstIter and QelRectIter
// (QelRectIter.h) give it an element type.
//
//     for (iter.toStart(); !iter.done(); iter.nextRow())
//         for (; !iter.rowDone(); iter.next())
//             use(iter.get());
//
// A new iterator has no position and is done; moveTo() or toStart() loads the first tiles. It holds
// the tiles of its grid row that the rectangle touches, so moving up and down within this row
// computes nothing twice. Entering another row of the grid replaces them, one at a time.
//
// A step that leaves the rectangle leaves the iterator just outside, however long it is: rowDone()
// beside the rectangle, also done() above or below it. It stays there until a step back, or
// moveTo(), brings it in again; until then there is no pixel to read or write.
//
// A rectangle that is not all inside the image raises misuse (3) as soon as the iterator enters it,
// before any tile is computed.
//
// Errors of the tiles themselves pass through moveTo() and the steps. The iterator is done then;
// moveTo() tries again.
//
// Belongs to one thread; any number of iterators may visit one image at once. The image must
// outlive it and keep its grid. Positions are image coordinates, in pixels, and edges are
// inclusive.
class QEL_API QelRectIterBase {
  public:
    // An empty rectangle (right < left or bottom < top) makes an iterator that stays done. Nothing
    // is loaded. Raises nullPointer (4) for a null image, and simpleDataOrgNeeded (150) unless the
    // image's organisation is a QelSimpleDataOrg.
    QelRectIterBase(Qel2DImage * image, std::int32_t left, std::int32_t top, std::int32_t right,
                    std::int32_t bottom);
    QelRectIterBase(Qel2DImage * image, QelRect const & rect);
    // The whole image.
    explicit QelRectIterBase(Qel2DImage * image);
    virtual ~QelRectIterBase();
    QelRectIterBase(QelRectIterBase const &);
    QelRectIterBase & operator=(QelRectIterBase const &) = delete;

    // Goes to band `band` of pixel (x, y). Raises outOfBounds (151) outside the rectangle,
    // std::out_of_range for a bad band, and misuse (3) when a tile is unavailable.
    void moveTo(std::int32_t x, std::int32_t y, std::int32_t band = 0);
    // moveTo() the top-left pixel; does nothing for an empty rectangle.
    void toStart();

    // To the next pixel of the row.
    void next() {
        current_ += pixelStride_;
        if (current_ == rowEnd_) leaveRun();
    }
    // To the first pixel of the next row, in the same band.
    void nextRow();

    // `n` pixels to the right, or to the left if it is negative; `n` rows down or up, in the same
    // column. Without a position they start at the top-left pixel.
    void moveX(std::int32_t n) {
        std::int64_t const bytes = n * pixelStride_;
        if (staysInRun(bytes)) {
            current_ += bytes;
        } else {
            stepX(n);
        }
    }
    void moveY(std::int32_t n);

    // To the next band of the same pixel. Past the last band only the count increases.
    void nextBand() {
        if (band_ < lastBand()) {
            bandOffset_ = bandOffsets_[static_cast<std::size_t>(++band_)];
        } else {
            leaveBands();
        }
    }
    // Requires: 0 <= band < the number of bands; std::out_of_range otherwise.
    void setBand(std::int32_t band) {
        bandOffset_ = bandOffsets_.at(static_cast<std::size_t>(band));
        band_ = band;
    }

    // Is there no current row, either no longer or not yet?
    bool done() const { return done_; }
    // Are there no more pixels in this row? True also when done() is.
    bool rowDone() const { return rowDone_; }
    // Did nextBand() leave the last band?
    bool bandDone() const { return band_ > lastBand(); }

    // The pixels from the current one to the last of its row that lies in the same tile; 0 when
    // the row is done. nextRun() goes to the pixel after them.
    std::int64_t runLength() const;
    void nextRun();
    // The elements of all bands of these pixels, where they follow each other in memory pixel by
    // pixel without a gap; 0 elsewhere. The first one lies at firstBandAddress().
    std::int64_t allBandsLength() const {
        return pixelsAreDense_ ? runLength() * (std::int64_t{lastBand()} + 1) : 0;
    }

    // One past an edge when done there.
    std::int64_t x() const;
    std::int64_t y() const { return y_; }
    // The number of bands or more when bandDone().
    std::int32_t band() const { return band_; }

    // The address of the current element. Requires: !rowDone().
    std::uint8_t * address() const { return current_ + bandOffset_; }
    // The same in the first band.
    std::uint8_t * firstBandAddress() const { return current_ + bandOffsets_.front(); }
    // Bytes from the current element to that of another band of the same pixel.
    // std::out_of_range for a bad band.
    std::int64_t bandDistance(std::int32_t band) const {
        return bandOffsets_.at(static_cast<std::size_t>(band)) - bandOffset_;
    }

    // The tile that holds the current pixel; null when the row is done.
    QelTile * tile() const;

    Qel2DImage * image() const { return image_; }
    QelSimpleDataOrg const & dataOrg() const { return *dataOrg_; }
    // In bytes.
    std::int64_t pixelStride() const { return pixelStride_; }
    // The rectangle, with inclusive edges.
    std::int32_t left() const { return left_; }
    std::int32_t top() const { return top_; }
    std::int32_t right() const { return right_; }
    std::int32_t bottom() const { return bottom_; }
    std::int32_t lastBand() const { return lastBand_; }
    // Tiles that the iterator holds at once: the columns of the grid that the rectangle touches.
    std::int32_t columnCount() const { return columnCount_; }
    // The row of the grid whose tiles it holds; -10000000 before the first.
    std::int32_t tileRow() const { return tileRow_; }

  protected:
    // The tile at column x, row y of the grid: computed. Writing iterators use tileToWrite().
    virtual MoxSmartPtr<QelTile> tileAt(std::int32_t x, std::int32_t y);
    // The existing tile, or an empty one with its memory allocated: several threads may write to
    // one tile, each to different pixels.
    MoxSmartPtr<QelTile> tileToWrite(std::int32_t x, std::int32_t y);

  private:
    // The part of the rectangle in one tile of the current grid row. Bounds are inclusive.
    struct Column {
        MoxSmartPtr<QelTile> tile;
        std::uint8_t * origin = nullptr;  // the pixel at (tileLeft, tileTop)
        std::int32_t tileLeft = 0;
        std::int32_t tileTop = 0;
        std::int32_t left = 0;
        std::int32_t right = -1;
        std::int32_t top = 0;
        std::int32_t bottom = -1;
    };

    static constexpr std::int32_t nowhere = -10000000;

    bool staysInRun(std::int64_t bytes) const {
        if (pixelStride_ > 0) return bytes < rowEnd_ - current_ && bytes >= rowStart_ - current_;
        return bytes > rowEnd_ - current_ && bytes <= rowStart_ - current_;
    }
    std::int32_t tileColumnOf(std::int32_t x) const;
    std::int32_t tileRowOf(std::int32_t y) const;
    void goTo(std::int64_t x, std::int64_t y);
    void place(std::int32_t x, std::int32_t y);
    void enter(Column const & column, std::int32_t x, std::int32_t y);
    void loadRow(std::int32_t row);
    void requireInImage(std::int32_t row) const;
    std::int32_t missingRow(std::int32_t row) const;
    void loadColumn(std::int32_t column, std::int32_t row);
    bool enterNextColumn();
    void leaveRun();
    void leaveBands();
    void stepX(std::int32_t n);
    void standNowhere();
    [[noreturn]] void raiseNoTile(std::int32_t x, std::int32_t y) const;

    // Used by the inner loop. Pixel addresses do not include a band offset.
    std::uint8_t * current_;
    std::uint8_t * rowEnd_;  // one step past the run of pixels of the current tile
    std::int64_t pixelStride_;
    std::int64_t bandOffset_ = 0;  // of the current band; the last one when the bands are done
    bool rowDone_ = true;
    bool done_ = true;

    std::uint8_t * rowStart_;
    std::int64_t lineStride_;
    std::int64_t runEndX_ = 0;  // the column at rowEnd_
    std::int64_t x_;            // where the run was entered
    std::int64_t y_;
    std::int32_t band_ = 0;
    std::int32_t lastBand_ = -1;
    std::vector<std::int64_t> bandOffsets_;
    bool pixelsAreDense_ = false;
    std::int32_t left_;
    std::int32_t top_;
    std::int32_t right_;
    std::int32_t bottom_;
    std::int32_t firstTileColumn_ = 0;
    std::int32_t columnCount_ = 0;
    std::int32_t tileColumn_ = nowhere;
    std::int32_t tileRow_ = nowhere;
    Qel2DImage * image_;
    bool oneTile_;
    MoxConstSmartPtr<QelSimpleDataOrg> dataOrg_;
    std::vector<Column> columns_;
};
