#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "Qel2DImage.h"
#include "Qel2DImageGrid.h"
#include "QelErrorFrames.h"
#include "QelOrgChange.h"
#include "QelRequired.h"
#include "QelTextStream.h"
#include "QelThreadWork.h"
#include "ZanBorrow.h"

// The ways in which an image gives its pixels away: views, stolen or shared memory, computes
// straight into the caller's buffer, and copies.

namespace {

std::string text(QelRect const & rect) {
    QelTextStream out;
    out << '(' << rect.x << ',' << rect.y << ',' << rect.width << ',' << rect.height << ')';
    return out.str();
}

// Apart from framed(), which lies on the stack once for each image of a chain.
template <class Action>
[[noreturn, gnu::noinline]] void raiseFrame(Qel2DImage const & image, Action const & action) {
    qelRaiseLastErrorFrame(action(), image.describe());
}

// Runs `body`; an exception from outside the library is raised again with the action, which is
// put into words only then.
template <class Body, class Action>
auto framed(Qel2DImage const & image, Body body, Action action) {
    errno = 0;
    try {
        return body();
    } catch (ZanError &) {
        throw;
    } catch (...) {
        raiseFrame(image, action);
    }
}

// Does the tile have as much memory as the buffer expects? That may be larger than the rectangle
// which it asks for, and than a tile.
bool memoryReaches(QelTile const & tile, QelRectBuffer const & buffer) {
    return !buffer.dataBuffer() || buffer.dataBuffer()->size() <= tile.dataBuffer()->size();
}

// The organisation of a copy of `rect`. A client's own that cannot be resized will do as it is
// where one tile of it has the room.
MoxSmartPtr<QelDataOrg> orgOfSize(QelDataOrg const & org, QelRect const & rect) {
    MoxSmartPtr<QelDataOrg> resized = org.withSize(rect.width, rect.height);
    bool const fits = rect.width <= org.tileWidth() && rect.height <= org.tileHeight();
    if (!resized && fits) return org.clone();
    return qelRequireChanged(std::move(resized), org, "size");
}

}  // namespace

Qel2DImage::TileIterator::TileIterator(Qel2DImage * image, QelRect const & rect)
    : image_(&qelRequired(image)),
      keep_(zanKeepIfOwned(image)),
      rect_(rect.intersect(image->imageRect())),
      x_(0),
      y_(0),
      firstX_(0),
      lastX_(-1),
      lastY_(-1) {
    Grid const & grid = image->grid();
    if (rect_.isEmpty() || !grid.org) return;
    if (grid.isOneTile) {
        bool const touches = rect_.overlaps(grid.covered);
        lastX_ = lastY_ = touches ? 0 : -1;
        return;
    }
    auto const right = static_cast<std::int32_t>(rect_.right());
    auto const bottom = static_cast<std::int32_t>(rect_.bottom());
    x_ = firstX_ = std::max(0, grid.org->tileIndexX(rect_.x));
    lastX_ = std::min(grid.across - 1, grid.org->tileIndexX(right));
    y_ = std::max(0, grid.org->tileIndexY(rect_.y));
    lastY_ = std::min(grid.down - 1, grid.org->tileIndexY(bottom));
    if (firstX_ > lastX_) lastY_ = y_ - 1;
}

void Qel2DImage::TileIterator::next() {
    if (x_ < lastX_) {
        ++x_;
    } else {
        x_ = firstX_;
        ++y_;
    }
}

void Qel2DImage::computeInto(QelRectBuffer & buffer, QelTile * tile, Grid const & planned) {
    QelImageOp * const op = chooseOp();
    if (planned.isOutdated(*this)) return;
    {
        QelThreadWork::Inside const inside(*this);
        if (op != nullptr) {
            op->compute(&buffer, opContext_);
        } else {
            container_->genRect(this, &buffer);
        }
    }
    countCompute(buffer.rect());
    if (tile != nullptr) tile->clearDependencies();
    if (container_ != nullptr) container_->workDone(1);
}

void Qel2DImage::copyInto(QelRectBuffer & buffer, QelTile const & tile, QelRect const & rect) {
    buffer.copyFrom(tile, rect);
    pixelsCopied_.fetch_add(buffer.rect().intersect(tile.rect()).intersect(rect).area(),
                            std::memory_order_relaxed);
}

// One call of fillRWBuffer().
class Qel2DImage::Filler {
  public:
    Filler(Qel2DImage & image, Grid & grid, QelRectBuffer & dest, bool allowCopy)
        : image_(image), grid_(grid), dest_(dest), me_(&dest), allowCopy_(allowCopy) {}

    bool fill();

    // Then all is to be done again.
    bool isOutdated() const { return grid_.isOutdated(image_); }

  private:
    bool allTilesReady();
    bool trySteal();
    std::int32_t cached() const { return image_.cacheTiles_ ? 1 : 0; }
    std::int32_t holders() const { return grid_.slot(tileX_, tileY_).holders(*tile_, cached()); }
    bool memoryFits() const;
    void clip();
    bool canFill();
    bool fillOneTile();
    void copyOneTile();
    void fillManyTiles();
    void fillFromTile(TileIterator const & at);
    std::string where() const { return "[tme=" + text(me_->rect()); }
    std::string whereInLoop() const;

    Qel2DImage & image_;
    Grid & grid_;
    QelRectBuffer & dest_;
    MoxSmartPtr<QelRectBuffer> clipped_;
    QelRectBuffer * me_;
    bool allowCopy_;
    std::int32_t tileX_ = 0;
    std::int32_t tileY_ = 0;
    bool oneTile_ = false;
    bool canFill_ = false;
    MoxSmartPtr<QelTile> tile_;

    // How far the loop over many tiles has come, for the text of an error.
    enum class Branch { Unknown, Copy, Compute } branch_ = Branch::Unknown;
    MoxSmartPtr<QelRectBuffer> sub_;
};

bool Qel2DImage::Filler::fill() {
    if (!grid_.known) return false;
    if (dest_.rect().intersect(grid_.rect).isEmpty()) return true;
    oneTile_ = grid_.org->isOneTile(dest_.rect(), tileX_, tileY_) && grid_.contains(tileX_, tileY_);
    if (!image_.hasProducer() && !allTilesReady()) return false;
    if (oneTile_ && image_.hasProducer() && trySteal()) return true;
    if (isOutdated()) return false;
    clip();
    canFill_ = canFill();
    if (oneTile_ && canFill_ && fillOneTile()) return true;
    if (!allowCopy_) return false;
    if (oneTile_) {
        copyOneTile();
    } else {
        fillManyTiles();
    }
    return true;
}

// Without anything to compute with, nothing is written unless all can be.
bool Qel2DImage::Filler::allTilesReady() {
    for (TileIterator at(&image_, dest_.rect()); !at.done(); at.next()) {
        MoxSmartPtr<QelTile> const tile = at.findTile();
        if (!tile || !image_.isReady(*tile)) return false;
    }
    return true;
}

bool Qel2DImage::Filler::trySteal() {
    if (dest_.isAllocated() || !dest_.dataBuffer() || dest_.dataBuffer()->refCount() != 1) {
        return false;
    }
    return framed(
        image_,
        [this] {
            // A tile that is there already has an owner.
            tile_ = image_.findTile(tileX_, tileY_);
            if (tile_) return false;
            tile_ = image_.createTile(tileX_, tileY_);
            if (!tile_ || tile_->refCount() > 1 + cached() || !memoryFits()) return false;
            tile_ = image_.getTile(tileX_, tileY_);
            return tile_ && !isOutdated() &&
                   grid_.slot(tileX_, tileY_).steal(*tile_, dest_, cached());
        },
        [this] {
            return "fillRWBuffer() in \"while (!me->isAllocated( )) loop\" " + where() + "]";
        });
}

// Does the tile's memory hold each pixel where the buffer looks for it? The tile's data offset
// comes along with its memory, so that must be the buffer's as well.
bool Qel2DImage::Filler::memoryFits() const {
    return dest_.dataOrg()->isCompatible(*tile_->dataOrg(), false) &&
           tile_->offsetOf(dest_.rect().x, dest_.rect().y) == dest_.dataOffset() &&
           tile_->dataOffset() == dest_.dataOffset();
}

// From here on all writes stay inside the image.
void Qel2DImage::Filler::clip() {
    if (grid_.rect.containsRect(dest_.rect())) return;
    if (!dest_.dataBuffer()) dest_.allocate();
    clipped_ = dest_.subBuffer(grid_.rect);
    me_ = clipped_;
}

bool Qel2DImage::Filler::canFill() {
    QelImageOp * const op = image_.currentOp();
    if (op != nullptr) return op->canFill(me_, image_.opContext_);
    return image_.container_ != nullptr && image_.container_->canGenRect(me_);
}

bool Qel2DImage::Filler::fillOneTile() {
    if (!tile_) tile_ = image_.createTile(tileX_, tileY_);
    if (tile_ && (image_.isReady(*tile_) || holders() > 2)) return false;
    framed(
        image_, [this] { image_.computeInto(*me_, tile_, grid_); },
        [this] {
            return "fillRWBuffer() in \"if one tile and can fill directly\" " + where() + "]";
        });
    return true;
}

void Qel2DImage::Filler::copyOneTile() {
    framed(
        image_,
        [this] {
            tile_ = image_.getTile(tileX_, tileY_);
            if (tile_) image_.copyInto(*me_, *tile_, dest_.rect());
        },
        [this] {
            return "fillRWBuffer() in \"if one tile and cannot fill directly\" " + where() + "]";
        });
}

void Qel2DImage::Filler::fillManyTiles() {
    // Views of a buffer without memory would each get their own.
    if (!dest_.dataBuffer()) dest_.allocate();
    framed(
        image_,
        [this] {
            tile_ = nullptr;
            for (TileIterator at(&image_, dest_.rect()); !at.done() && !isOutdated(); at.next()) {
                branch_ = Branch::Unknown;
                sub_ = nullptr;
                tileX_ = at.tileX();
                tileY_ = at.tileY();
                fillFromTile(at);
            }
        },
        [this] { return whereInLoop(); });
}

void Qel2DImage::Filler::fillFromTile(TileIterator const & at) {
    tile_ = at.createTile();
    if (!canFill_ || (tile_ && (image_.isReady(*tile_) || holders() >= 3))) {
        branch_ = Branch::Copy;
        tile_ = at.getTile();
        if (tile_) image_.copyInto(*me_, *tile_, dest_.rect());
        return;
    }
    branch_ = Branch::Compute;
    sub_ = me_->subBuffer(grid_.org->tileRect(tileX_, tileY_));
    image_.computeInto(*sub_, tile_, grid_);
}

std::string Qel2DImage::Filler::whereInLoop() const {
    std::string action = "fillRWBuffer() in \"while (!tileIter.done( )) loop\" " + where() +
                         "] Q:Copying a Tile? A:";
    switch (branch_) {
        case Branch::Copy:
            return action + "Yes, tile_x=" + std::to_string(tileX_) +
                   " tile_y=" + std::to_string(tileY_);
        case Branch::Compute:
            return action + "No " +
                   (sub_ ? "[sub-rect=" + text(sub_->rect()) + "]"
                         : std::string("[NULL sub-rect]"));
        case Branch::Unknown: break;
    }
    return action + "Unknown";
}

bool Qel2DImage::fillRWBuffer(QelRectBuffer * dest, bool allowCopy) {
    qelRequired(dest);
    MoxSmartPtr<Qel2DImage> const self = zanKeepIfOwned(this);
    ZanBorrow<QelRectBuffer> const me(dest);
    return Grid::answer(*this, [&](Grid & now) -> std::optional<bool> {
        Filler filler(*this, now, *dest, allowCopy);
        bool const filled = filler.fill();
        if (filler.isOutdated()) return std::nullopt;
        return filled;
    });
}

MoxSmartPtr<QelRectBuffer> Qel2DImage::getData(QelRect const & rect, bool allowCopy) {
    MoxSmartPtr<Qel2DImage> const self = zanKeepIfOwned(this);
    return Grid::answer(*this, [&](Grid & now) -> std::optional<MoxSmartPtr<QelRectBuffer>> {
        TileIterator const at(this, rect);
        if (now.isOutdated(*this)) return std::nullopt;
        if (at.done()) return nullptr;
        bool const inOneTile = now.isOneTile || now.org->isOneTile(at.rect());
        // What is going to be copied does not need the tile.
        if (inOneTile && (!allowCopy || now.covered.containsRect(rect))) {
            MoxSmartPtr<QelTile> const tile = framed(
                *this, [&at] { return at.getTile(); },
                [&rect] {
                    return "getData() in \"if (dataOrg()->isOneTile(...))\" [rect=" + text(rect) +
                           "]";
                });
            if (now.isOutdated(*this)) return std::nullopt;
            if (!tile) return nullptr;
            if (!allowCopy || tile->rect().containsRect(rect)) return tile->subBuffer(rect);
        }
        return allowCopy ? copyOut(rect) : nullptr;
    });
}

// A new buffer of the requested size, zero where the image has no pixels; null when there is
// nothing to compute them with.
MoxSmartPtr<QelRectBuffer> Qel2DImage::copyOut(QelRect const & rect) {
    Grid & now = grid();
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(orgOfSize(*now.org, rect), rect.x, rect.y, rect.width, rect.height);
    return framed(
        *this,
        [&] {
            if (!now.covered.containsRect(rect)) {
                buffer->allocate();
                QelDataBuffer const & memory = *buffer->dataBuffer();
                std::memset(memory.data(), 0, static_cast<std::size_t>(memory.size()));
            }
            bool const filled = fillRWBuffer(buffer->subBuffer(imageRect()), true);
            return filled ? buffer : MoxSmartPtr<QelRectBuffer>();
        },
        [&rect] { return "getData() when copying into new buffer [rect=" + text(rect) + "]"; });
}

void Qel2DImage::shareBuffer(QelRectBuffer * buffer, QelRect const & rect, bool allowCopy) {
    qelRequired(buffer);
    MoxSmartPtr<Qel2DImage> const self = zanKeepIfOwned(this);
    ZanBorrow<QelRectBuffer> const hold(buffer);
    if (rect.intersect(imageRect()).isEmpty()) return;
    framed(
        *this,
        [&] {
            if (shareTile(*buffer, rect) || !allowCopy) return;
            if (!buffer->dataBuffer()) buffer->allocate();
            // The buffer under the coordinates of `rect`.
            MoxSmartPtr<QelRectBuffer> const moved = new QelRectBuffer(*buffer);
            moved->setRect(QelRect(rect.x, rect.y, buffer->rect().width, buffer->rect().height));
            fillRWBuffer(moved, allowCopy);
        },
        [&rect] { return "shareBuffer(...) rect=" + text(rect); });
}

bool Qel2DImage::shareTile(QelRectBuffer & buffer, QelRect const & rect) {
    if (buffer.isAllocated() || !buffer.dataOrg()) return false;
    return Grid::answer(*this, [&](Grid & now) -> std::optional<bool> {
        std::int32_t x = 0;
        std::int32_t y = 0;
        if (!now.org->isOneTile(rect, x, y) || !now.contains(x, y)) return false;
        if (!buffer.dataOrg()->isCompatible(*now.org, false)) return false;
        MoxSmartPtr<QelTile> tile = createTile(x, y);
        bool const fits = tile && tile->offsetOf(rect.x, rect.y) == buffer.dataOffset();
        if (fits) tile = getTile(x, y);
        if (now.isOutdated(*this)) return std::nullopt;
        return fits && tile && memoryReaches(*tile, buffer) && buffer.shareData(*tile, false);
    });
}
