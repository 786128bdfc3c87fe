#pragma once

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelContainerBase.h"
#include "QelDataOrg.h"
#include "QelEmbeddedRenderedItemContainer.h"
#include "QelImageOp.h"
#include "QelRectBuffer.h"
#include "QelTile.h"
#include "ZanMadeByNew.h"
#include "ZanMutex.h"

// An image that may not exist yet: it knows its size and the grid of tiles that covers it, and
// makes pixels on demand through its op or its container.
//
// A caller asks for a tile (getTile), for a view of pixels (getData), or to have its own buffer
// filled (fillRWBuffer, shareBuffer). The image finds the tiles involved, copies only where it
// must, computes what is missing, and hands memory out. By default it does not own its tiles: a
// tile lives as long as something holds it, and is computed again if requested later. With
// setCacheTiles(true) the image keeps them.
//
// Threads. Any number of threads may ask one image for pixels. Requests for different tiles take no
// common lock. A request for a tile that another thread is computing, or that the container is
// creating, waits for it, so each tile is made once. Threads whose tiles wait for each other in a
// cycle get QelError misuse (3). So does a container that requests the tile it is creating. Setting
// up (constructors, initialize, setOp, setCacheTiles) belongs to one thread, with no request in
// progress. One exception: the container's determineOp() may call setOp() from a request; what a
// request uses then stays valid until the next setup.
//
// Held by MoxSmartPtr, or on a stack. There it must outlive the iterators over it and the ops that
// read from it, and their references never delete it.
class QEL_API Qel2DImage : public QelEmbeddedRenderedItemContainer, public ZanMadeByNew {
  public:
    // What an image has done since it was made.
    struct Statistics {
        std::int64_t tilesComputed = 0;   // computes started by the image, of tiles or parts
        std::int64_t pixelsComputed = 0;  // pixels of these
        std::int64_t pixelsCopied = 0;    // pixels copied from tiles into callers' buffers
    };

    // Walks the tiles that a rectangle touches, row by row, left to right. A value; keeps the
    // image alive.
    class QEL_API TileIterator {
      public:
        // Starts at the first tile. `rect` is clipped to the image; one that misses it visits no
        // tile. Raises nullPointer (4) for a null image.
        TileIterator(Qel2DImage * image, QelRect const & rect);

        bool done() const { return y_ > lastY_; }
        // Requires: !done().
        void next();
        TileIterator & operator++() {
            next();
            return *this;
        }

        std::int32_t tileX() const { return x_; }
        std::int32_t tileY() const { return y_; }
        QelRect const & rect() const { return rect_; }

        // The image's operations at the current position.
        MoxSmartPtr<QelTile> getTile() const { return image_->getTile(x_, y_); }
        MoxSmartPtr<QelTile> createTile() const { return image_->createTile(x_, y_); }
        MoxSmartPtr<QelTile> findTile() const { return image_->findTile(x_, y_); }

      private:
        Qel2DImage * image_;
        MoxSmartPtr<Qel2DImage> keep_;  // null for an image without owners
        QelRect rect_;
        std::int32_t x_;
        std::int32_t y_;
        std::int32_t firstX_;
        std::int32_t lastX_;
        std::int32_t lastY_;
    };
    using tileIter = TileIterator;

    // With an op, whose report gives size and organisation; see initialize(). The container is not
    // counted and must outlive the image; both may be null. An `id` requires its resolution.
    Qel2DImage(QelTileId const & id, QelImageOp * op, QelContainerBase * container);
    explicit Qel2DImage(QelImageOp * op, QelContainerBase * container = nullptr);

    // With a given size and no op, using a clone of `org`. An organisation of tile size 0 gets one
    // tile of the image's size at (0,0). Raises nullPointer (4) for a null `org`, unsupported (9)
    // for one of tile size 0 that cannot be resized, and invalidValue (13) for a grid of more than
    // 2^31 tiles.
    Qel2DImage(QelTileId const & id, QelDataOrg * org, std::int32_t width, std::int32_t height,
               QelContainerBase * container);

    // One tile that shares the memory of `buffer`, complete if that is allocated. The image
    // reaches from (0,0) to the buffer's right and bottom edge, or to its full size if that is
    // larger. Raises nullPointer (4) for null and for a buffer without organisation, unsupported
    // (9) for one whose organisation does not let a tile share the memory, and invalidValue (13)
    // for an image that is too large.
    explicit Qel2DImage(QelRectBuffer * buffer);

    Qel2DImage(Qel2DImage const &) = delete;
    Qel2DImage & operator=(Qel2DImage const &) = delete;

    // Tiles that outlive the image stay valid as buffers.
    ~Qel2DImage() override;

    bool deleteRef() const noexcept override;

    // Sets size and grid from the op; does nothing without one. The tile size is the report's (the
    // image's, where that is 0), clamped to the bounds in QelSystemConfig if the op accepts that.
    // The grid is anchored so that tile (0,0) holds pixel (0,0). Raises misuse (3) for a bad report
    // and for a size that differs from the image's id, unsupported (9) for an organisation without
    // a tile size that cannot be resized, and invalidValue (13) for a grid of more than 2^31 tiles.
    void initialize();

    // Fills `info`, with a status of code 0; false, with the status misuse (3), when the size
    // cannot be determined. `info` takes over the size, the number of bands, their element type,
    // and the size and origin of the tiles. Its organisation keeps its class and layout: call
    // dataOrg() for the image's strides and offsets. computed() keeps its value too. Raises
    // unsupported (9) when that organisation cannot be changed this way.
    bool outputInfo(QelImageInfo & info);

    // Replaces the op and initializes. An unchanged grid keeps its tiles.
    void setOp(QelImageOp * op);
    MoxSmartPtr<QelImageOp> op() const;

    // Whether the image holds a reference to each of its tiles. Turning it off may delete tiles.
    void setCacheTiles(bool cache);
    bool cacheTiles() const { return cacheTiles_; }

    // The tile at column x, row y of the grid: complete, computed if needed; empty if it has to be
    // made, nothing computed; the existing one or null. A position outside the grid writes one line
    // to the library's output and returns null. getTile raises noPixelSource (602) when there is
    // nothing to compute with, unexpectedException (10) for a foreign exception, and passes a
    // ZanError on.
    MoxSmartPtr<QelTile> getTile(std::int32_t x, std::int32_t y);
    MoxSmartPtr<QelTile> createTile(std::int32_t x, std::int32_t y);
    MoxSmartPtr<QelTile> findTile(std::int32_t x, std::int32_t y);

    // Puts `tile` in the slot of its id, cut to the image, and returns it; a tile already there is
    // detached. Takes no reference, unless the image caches its tiles. While other threads use the
    // image the caller must hold one, since any thread that finds the tile may release it. Raises
    // nullPointer (4) for null.
    QelTile * insertTile(QelTile * tile);

    // The pixels of `rect`: a view of the tile that holds them all; otherwise, with `allowCopy`, a
    // new buffer of the requested size, zero outside the image; without it, a view of the part in
    // one tile, or null. Also null when `rect` misses the image. Raises unsupported (9) for a new
    // buffer larger than a tile when the organisation cannot be resized.
    MoxSmartPtr<QelRectBuffer> getData(QelRect const & rect, bool allowCopy);

    // Fills the part of `dest` that lies in the image, in the cheapest way: `dest` takes over a
    // tile's memory when it has none and the tile has no other user; the producer writes directly
    // into `dest` when it can; otherwise, with `allowCopy`, tiles are copied. False when there is
    // no way. That is always so without `allowCopy` when that part lies in several tiles, even if
    // the producer could write into `dest`. No pixel is computed or written then, but a `dest` that
    // extends beyond the image may have been allocated. True when `dest` misses the image. Raises
    // nullPointer (4) for null.
    bool fillRWBuffer(QelRectBuffer * dest, bool allowCopy);

    // Gives `buffer`, whatever its position, the pixels of `rect`: by sharing a tile's memory if it
    // has none and the layouts agree, otherwise by filling, which needs `allowCopy`. Raises
    // nullPointer (4) for null.
    void shareBuffer(QelRectBuffer * buffer, QelRect const & rect, bool allowCopy);

    // Tile geometry, bands, element type and layout; null while the size is not known.
    MoxSmartPtr<QelDataOrg> dataOrg() const;
    bool sizeKnown() const;
    // Size of the grid in tiles.
    std::int32_t tilesAcross() const;
    std::int32_t tilesDown() const;
    // (0, 0, width, height), in pixels.
    QelRect imageRect() const;
    QelContainerBase * container() const { return container_; }
    // For a container that ends, or lets go of its images: what has an op goes on without it. No
    // request is under way.
    void leaveContainer() { container_ = nullptr; }
    // The resolution that the image was made for; null when none was given.
    QelTileId const * id() const { return id_ ? &*id_ : nullptr; }

    // The context passed to every call of the op.
    QelOpContext opContext() const { return opContext_; }
    void setOpContext(QelOpContext opContext) { opContext_ = opContext; }

    // Is the calling thread inside a compute that this image started?
    bool computing() const;

    // History of a grid position: bits QelRenderedItem::pending and complete.
    // std::out_of_range outside the grid.
    std::uint32_t tileFlags(std::int32_t x, std::int32_t y) const;

    Statistics statistics() const;

    void discardReference(QelRenderedItem * item) override;
    void notifyStateChange(QelRenderedItem * item, std::uint32_t mask, bool set) override;

    // The container's owner, or null.
    virtual QelItemOwner * getOwner() const;
    // One line: tile size, image size, grid size.
    virtual void print(std::ostream & out) const;

    // Several lines for error messages.
    std::string describe() const;

  private:
    class Slot;
    class Grid;
    class Filler;

    Grid & grid() const { return *grid_.load(std::memory_order_acquire); }
    QelImageOp * currentOp() const { return currentOp_.load(std::memory_order_acquire); }

    // `now`, or the current grid; null, and a line on the output, if the position is outside.
    Grid * gridWith(Grid & now, std::int32_t x, std::int32_t y, char const * operation) const;
    Grid * gridWith(std::int32_t x, std::int32_t y, char const * operation) const {
        return gridWith(grid(), x, y, operation);
    }
    MoxSmartPtr<QelTile> createTile(Grid & now, std::int32_t x, std::int32_t y);
    Slot * slotOf(QelRenderedItem const * item, char const * operation, bool report) const;

    void adoptReport(QelImageOp & op);
    void requireSizeOfId(QelImageInfo const & info) const;
    void adoptGrid(std::unique_ptr<Grid> next);
    void keepOp(QelImageOp * op);
    void dropRetired();
    void wrap(QelRectBuffer & buffer);

    // The op, after giving the container a chance to choose one; null when there is none.
    QelImageOp * chooseOp();
    bool hasProducer() const { return currentOp() != nullptr || container_ != nullptr; }
    // By `op`, or by the container if that is null.
    void computeTile(QelTile & tile, QelImageOp * op);
    void runContainer(QelTile & tile);
    void runOp(QelImageOp & op, QelTile & tile);
    // Computes straight into `buffer`, unless the grid is no longer the `planned` one: the request
    // must then start again. Requires a producer.
    void computeInto(QelRectBuffer & buffer, QelTile * tile, Grid const & planned);
    void copyInto(QelRectBuffer & buffer, QelTile const & tile, QelRect const & rect);
    bool isReady(QelTile & tile) const;
    MoxSmartPtr<QelRectBuffer> copyOut(QelRect const & rect);
    bool shareTile(QelRectBuffer & buffer, QelRect const & rect);
    void countCompute(QelRect const & rect);
    QelTile * place(Grid & now, QelTile * tile);
    static void leaveFormerImage(QelTile & tile);
    [[noreturn]] void raisePopulatedTwice(QelTileId const & at) const;

    std::atomic<Grid *> grid_{nullptr};
    std::atomic<QelImageOp *> currentOp_{nullptr};
    // What a request in progress may still use after setOp(): the last entry is current.
    std::vector<std::unique_ptr<Grid>> grids_;
    std::vector<MoxSmartPtr<QelImageOp>> ops_;
    mutable ZanMutex setupLock_;
    std::atomic<int> choosing_{0};  // calls of determineOp() in progress

    QelOpContext opContext_ = 0;
    QelContainerBase * container_ = nullptr;
    std::optional<QelTileId> id_;
    bool cacheTiles_ = false;
    std::atomic<std::int64_t> tilesComputed_{0};
    std::atomic<std::int64_t> pixelsComputed_{0};
    std::atomic<std::int64_t> pixelsCopied_{0};
};

// For ops that read a single image: its report; with a null image the status misuse (3) in `info`
// and false.
QEL_API bool imageOutputInfo(Qel2DImage * image, QelImageInfo & info);

QEL_API std::ostream & operator<<(std::ostream & out, Qel2DImage const & image);
