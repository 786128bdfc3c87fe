#include "Qel2DImage.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <ostream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>

#include "Qel2DImageGrid.h"
#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelErrorFrames.h"
#include "QelOrgChange.h"
#include "QelOutput.h"
#include "QelReleaseQueue.h"
#include "QelRequired.h"
#include "QelSystemConfig.h"
#include "QelTextStream.h"
#include "QelThreadWork.h"

namespace {

// The smallest multiple of `size` that reaches the lower bound, or the upper bound.
std::int32_t clampTile(std::int32_t size, std::int32_t least, std::int32_t most) {
    std::int64_t clamped = std::max(1, size);
    if (clamped > most) clamped = std::max(1, most);
    if (clamped < least) clamped *= (least - 1) / clamped + 1;
    return static_cast<std::int32_t>(
        std::min<std::int64_t>(clamped, std::numeric_limits<std::int32_t>::max()));
}

// The origin in (-size, 0] whose grid has the same tile borders as the one at `origin`.
std::int32_t anchor(std::int32_t origin, std::int32_t size) {
    std::int64_t const o = origin;
    std::int64_t const s = std::max(1, size);
    return static_cast<std::int32_t>(o < 1 ? -((-o) % s) : (o - 1) % s - s + 1);
}

MoxSmartPtr<QelDataOrg> movedTo(QelDataOrg const & org, std::int32_t x, std::int32_t y) {
    return qelRequireChanged(org.withOrigin(x, y), org, "origin");
}

MoxSmartPtr<QelDataOrg> anchored(QelDataOrg const & org) {
    return movedTo(org, anchor(org.originX(), org.tileWidth()),
                   anchor(org.originY(), org.tileHeight()));
}

// One tile for the whole of an image. Nothing else would do for an organisation without a tile
// size: such a tile has no memory.
MoxSmartPtr<QelDataOrg> wholeImageOrg(QelDataOrg const & org, std::int32_t width,
                                      std::int32_t height) {
    return qelRequireChanged(org.withSize(std::max(1, width), std::max(1, height)), org,
                             "tile size");
}

// An organisation whose op refused tiles of w by h: anchored as these would have been, and then as
// its own size demands, so that its tile (0,0) holds pixel (0,0).
MoxSmartPtr<QelDataOrg> anchoredTwice(QelDataOrg const & org, std::int32_t w, std::int32_t h) {
    return anchored(*movedTo(org, anchor(org.originX(), w), anchor(org.originY(), h)));
}

// The organisation of an image's grid. A tile size that is not decided becomes the image's; then
// the limits apply, if the op can live with the result. An op that cannot keeps its own size, as
// far as it has one.
MoxSmartPtr<QelDataOrg> gridOrg(QelImageInfo const & info, QelImageOp & op, QelOpContext context) {
    MoxSmartPtr<QelDataOrg> const org = info.dataOrg();
    bool const decided = org->tileWidth() > 0 && org->tileHeight() > 0;
    std::int32_t const w = org->tileWidth() > 0 ? org->tileWidth() : info.width();
    std::int32_t const h = org->tileHeight() > 0 ? org->tileHeight() : info.height();
    std::int32_t const clampedW =
        clampTile(w, QelSystemConfig::minTileWidth, QelSystemConfig::maxTileWidth);
    std::int32_t const clampedH =
        clampTile(h, QelSystemConfig::minTileHeight, QelSystemConfig::maxTileHeight);
    if (clampedW == org->tileWidth() && clampedH == org->tileHeight()) return anchored(*org);
    MoxSmartPtr<QelDataOrg> const resized = org->withSize(clampedW, clampedH);
    if (resized && op.acceptsDataOrg(resized, context)) return anchored(*resized);
    if (decided) return anchoredTwice(*org, clampedW, clampedH);
    return anchored(*wholeImageOrg(*org, w, h));
}

// The item as a tile, or null; cheaper than a dynamic_cast in the usual case.
QelTile const * asTile(QelRenderedItem const * item) {
    if (item == nullptr) return nullptr;
    if (typeid(*item) == typeid(QelTile)) return static_cast<QelTile const *>(item);
    return dynamic_cast<QelTile const *>(item);
}

void appendSize(std::ostream & out, char const * label, std::int32_t fromOrg, std::int32_t tiles,
                std::int32_t imageSize) {
    std::int32_t const size = fromOrg > 0 ? fromOrg : (tiles == 1 ? imageSize : 0);
    out << label;
    if (size > 0) {
        out << size;
    } else {
        out << "Unknown";
    }
}

// Apart from its callers, which lie on the stack once for each image of a chain.
[[noreturn, gnu::noinline]] void raiseTileFrame(Qel2DImage const & image, QelTileId const & at,
                                                bool byOp) {
    std::string const call = byOp ? "_op->getTile(t," + std::to_string(image.opContext()) + ")"
                                  : "_container->computeTile(t)";
    qelRaiseLastErrorFrame("getTile(" + std::to_string(at.tileX) + "," + std::to_string(at.tileY) +
                               ") calling " + call,
                           image.describe());
}

}  // namespace

Qel2DImage::Qel2DImage(QelTileId const & id, QelImageOp * op, QelContainerBase * container)
    : container_(container), id_(id) {
    adoptGrid(std::make_unique<Grid>());
    setOp(op);
}

Qel2DImage::Qel2DImage(QelImageOp * op, QelContainerBase * container) : container_(container) {
    adoptGrid(std::make_unique<Grid>());
    setOp(op);
}

Qel2DImage::Qel2DImage(QelTileId const & id, QelDataOrg * org, std::int32_t width,
                       std::int32_t height, QelContainerBase * container)
    : container_(container), id_(id) {
    MoxSmartPtr<QelDataOrg> own = qelRequired(org).clone();
    if (own->tileWidth() == 0 || own->tileHeight() == 0) {
        own = movedTo(*wholeImageOrg(*own, width, height), 0, 0);
    } else {
        own = anchored(*own);
    }
    adoptGrid(std::make_unique<Grid>(own, width, height));
}

Qel2DImage::Qel2DImage(QelRectBuffer * buffer) : cacheTiles_(true) {
    if (!qelRequired(buffer).dataOrg())
        qelRaise(QelErrorCode::nullPointer, "QelRectBuffer has no data organization");
    QelRect const & rect = buffer->rect();
    std::int64_t const width = std::max<std::int64_t>(buffer->fullWidth(), rect.right() + 1);
    std::int64_t const height = std::max<std::int64_t>(buffer->fullHeight(), rect.bottom() + 1);
    if (std::max(width, height) > std::numeric_limits<std::int32_t>::max()) {
        qelRaise(QelErrorCode::invalidValue, "An image of " + std::to_string(width) + " by " +
                                                 std::to_string(height) + " pixels is too large");
    }
    QelRect const whole(0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height));
    adoptGrid(Grid::ofOneTile(movedTo(*buffer->dataOrg(), rect.x, rect.y), whole, rect));
    if (grid().count() > 0) wrap(*buffer);
}

// The tile takes the part of the buffer that lies in the image; its memory is the buffer's, also
// when that is allocated later.
void Qel2DImage::wrap(QelRectBuffer & buffer) {
    MoxSmartPtr<QelRectBuffer> const inside = buffer.subBuffer(imageRect());
    MoxSmartPtr<QelTile> const tile = new QelTile(grid().org, QelTileId(0, 0));
    tile->setRect(inside->rect());
    if (!tile->shareData(*inside, true)) {
        qelRaise(QelErrorCode::unsupported,
                 std::string("The data organization ") + QelCoreMisc::classNameOf(*grid().org) +
                     " does not let a tile share the memory of a buffer");
    }
    if (inside->isAllocated()) tile->setComplete(true);
    place(grid(), tile);
}

bool Qel2DImage::deleteRef() const noexcept {
    return QelEmbeddedRenderedItemContainer::deleteRef() && endsWithCount(*this);
}

Qel2DImage::~Qel2DImage() {
    grid().detachTiles(cacheTiles_);
    for (MoxSmartPtr<QelImageOp> & op : ops_)
        qelReleaseLater(std::move(op));
}

void Qel2DImage::adoptGrid(std::unique_ptr<Grid> next) {
    Grid * const old = grid_.load(std::memory_order_relaxed);
    grids_.push_back(std::move(next));
    // The old grid stays in force until it is empty: a tile that ends meanwhile finds its slot.
    if (old != nullptr) old->retire(cacheTiles_);
    grid_.store(grids_.back().get(), std::memory_order_release);
}

void Qel2DImage::keepOp(QelImageOp * op) {
    bool const kept =
        op == nullptr || std::any_of(ops_.begin(), ops_.end(),
                                     [op](auto const & entry) { return entry.get() == op; });
    if (!kept) ops_.push_back(op);
}

// Outside of a request nothing uses what earlier calls of setOp() replaced.
void Qel2DImage::dropRetired() {
    if (choosing_.load(std::memory_order_acquire) != 0) return;
    if (grids_.size() > 1) grids_.erase(grids_.begin(), grids_.end() - 1);
    QelImageOp const * const used = currentOp();
    std::erase_if(ops_, [used](auto const & op) { return op.get() != used; });
}

void Qel2DImage::setOp(QelImageOp * op) {
    ZanLock const lock(setupLock_);
    keepOp(op);
    try {
        if (op != nullptr) adoptReport(*op);
    } catch (...) {
        dropRetired();
        throw;
    }
    // Last, so that a request which sees the op sees its report and its grid as well.
    currentOp_.store(op, std::memory_order_release);
    dropRetired();
}

MoxSmartPtr<QelImageOp> Qel2DImage::op() const {
    return currentOp();
}

void Qel2DImage::initialize() {
    ZanLock const lock(setupLock_);
    if (currentOp() != nullptr) adoptReport(*currentOp());
}

void Qel2DImage::adoptReport(QelImageOp & op) {
    QelImageInfo info;
    if (!op.outputInfo(info, opContext_)) {
        qelRaise(QelErrorCode::misuse,
                 std::string("The Op (") + QelCoreMisc::classNameOf(op) +
                     ") for this operation returns a bad status from outputInfo(): " +
                     info.status().getMsg());
    }
    requireSizeOfId(info);
    auto next = std::make_unique<Grid>(gridOrg(info, op, opContext_), info.width(), info.height());
    if (!next->equals(grid())) adoptGrid(std::move(next));
}

void Qel2DImage::requireSizeOfId(QelImageInfo const & info) const {
    if (!id_) return;
    if (id_->resolutionWidth == info.width() && id_->resolutionHeight == info.height()) return;
    QelTextStream text;
    text << "Qel2DImage error: its size (" << info.width() << "," << info.height()
         << ") does not match its resolution (" << id_->resolutionWidth << ","
         << id_->resolutionHeight << ")";
    qelRaise(QelErrorCode::misuse, text.str());
}

bool Qel2DImage::outputInfo(QelImageInfo & info) {
    if (!sizeKnown()) initialize();
    Grid const & now = grid();
    if (!now.known) {
        info.setStatus(QelError(QelErrorCode::misuse,
                                "Qel2DImage is unable to determine its own size", __FILE__,
                                __LINE__));
        return false;
    }
    info.setSize(now.rect.width, now.rect.height);
    info.setNumBands(now.org->numBands());
    info.setPrecision(now.org->precision());
    info.setTileSize(now.org->tileWidth(), now.org->tileHeight());
    info.setOrigin(now.org->originX(), now.org->originY());
    info.setStatus(QelImageInfo().status());  // a bad one may be left of an earlier report
    return true;
}

MoxSmartPtr<QelDataOrg> Qel2DImage::dataOrg() const {
    return grid().org;
}
bool Qel2DImage::sizeKnown() const {
    return grid().known;
}
std::int32_t Qel2DImage::tilesAcross() const {
    return grid().across;
}
std::int32_t Qel2DImage::tilesDown() const {
    return grid().down;
}
QelRect Qel2DImage::imageRect() const {
    return grid().rect;
}
bool Qel2DImage::computing() const {
    return QelThreadWork::isInside(*this);
}

void Qel2DImage::setCacheTiles(bool cache) {
    if (cache == cacheTiles_) return;
    cacheTiles_ = cache;
    Grid & now = grid();
    for (std::size_t i = 0; i < now.count(); ++i) {
        MoxSmartPtr<QelTile> const tile = now.slots[i].find();
        if (!tile) continue;
        if (cache) {
            tile->addRef();
        } else {
            tile->deleteRef();  // not the last: `tile` holds one
        }
    }
}

// One look at the grid serves a whole operation: a request may run while the grid is replaced.
Qel2DImage::Grid * Qel2DImage::gridWith(Grid & now, std::int32_t x, std::int32_t y,
                                        char const * operation) const {
    if (now.contains(x, y)) return &now;
    QelTextStream line;
    line << "OUT OF RANGE -- " << operation << ' ' << x << ' ' << y << ' ' << now.across << ' '
         << now.down << ' ' << static_cast<void const *>(this) << '\n';
    QelOutput::write(line.str());
    return nullptr;
}

MoxSmartPtr<QelTile> Qel2DImage::findTile(std::int32_t x, std::int32_t y) {
    Grid * const now = gridWith(x, y, "findTile");
    return now == nullptr ? nullptr : now->slot(x, y).find();
}

MoxSmartPtr<QelTile> Qel2DImage::createTile(std::int32_t x, std::int32_t y) {
    Grid * const now = gridWith(x, y, "createTile");
    return now == nullptr ? nullptr : createTile(*now, x, y);
}

MoxSmartPtr<QelTile> Qel2DImage::createTile(Grid & now, std::int32_t x, std::int32_t y) {
    Slot & slot = now.slot(x, y);
    MoxSmartPtr<QelTile> tile = slot.find();
    if (tile) return tile;
    QelThreadWork::Making const making(slot.making(), x, y);
    tile = slot.find();
    if (tile) return tile;
    if (container_ != nullptr) {
        Grid::Asked const asked(*this, now);
        return container_->createTile(this, x, y);
    }
    tile = new QelTile(now.org, QelTileId(x, y));
    place(now, tile);
    return tile;
}

QelTile * Qel2DImage::insertTile(QelTile * tile) {
    QelTileId const & at = qelRequired(tile).tileId();
    Grid * now = Grid::Asked::of(*this);
    if (now == nullptr || !now->contains(at.tileX, at.tileY)) {
        now = gridWith(at.tileX, at.tileY, "insertTile");
    }
    return now == nullptr ? nullptr : place(*now, tile);
}

// The tile must know its image before the slot shows it to other threads.
QelTile * Qel2DImage::place(Grid & now, QelTile * tile) {
    QelTileId const & at = tile->tileId();
    if (at.tileX == now.across - 1 || at.tileY == now.down - 1) {
        tile->setRect(tile->rect().intersect(now.rect));
    }
    Slot & slot = now.slot(at.tileX, at.tileY);
    if (slot.holds(tile)) return tile;
    leaveFormerImage(*tile);
    tile->setContainer(this);
    if (cacheTiles_) tile->addRef();
    Slot::Displaced old = slot.exchange(tile);
    if (cacheTiles_) old.dropCached();
    if (now.retired()) now.detachTile(slot, cacheTiles_);
    return tile;
}

// A tile is in one slot at most.
void Qel2DImage::leaveFormerImage(QelTile & tile) {
    auto * const former = dynamic_cast<Qel2DImage *>(tile.container());
    if (former == nullptr || !former->grid().contains(tile.tileId().tileX, tile.tileId().tileY)) {
        return;
    }
    Slot & slot = former->grid().slot(tile.tileId().tileX, tile.tileId().tileY);
    // The caller goes on to use the tile, so the count may touch 0 without ending it.
    if (slot.clear(&tile) && former->cacheTiles_) tile.giveBackRef();
}

MoxSmartPtr<QelTile> Qel2DImage::getTile(std::int32_t x, std::int32_t y) {
    return Grid::answer(*this, [&](Grid & now) -> std::optional<MoxSmartPtr<QelTile>> {
        if (gridWith(now, x, y, "getTile") == nullptr) return nullptr;
        MoxSmartPtr<QelTile> tile = createTile(now, x, y);
        if (!tile || isReady(*tile)) return tile;
        QelImageOp * const op = chooseOp();
        if (now.isOutdated(*this)) return std::nullopt;
        computeTile(*tile, op);
        return tile;
    });
}

// The tile of a wrapped buffer is as good as the buffer, which may get its memory at any time. With
// an op memory proves nothing: a tile has it while it is being computed.
bool Qel2DImage::isReady(QelTile & tile) const {
    if (tile.isState(QelRenderedItem::complete)) return true;
    if (!grid().isOneTile || currentOp() != nullptr || !tile.isAllocated()) return false;
    tile.setComplete(true);
    return true;
}

QelImageOp * Qel2DImage::chooseOp() {
    QelImageOp * const op = currentOp();
    if (op != nullptr || container_ == nullptr) return op;
    struct Choosing {
        explicit Choosing(std::atomic<int> & n) : count(n) { ++count; }
        ~Choosing() { --count; }
        std::atomic<int> & count;
    } const choosing(choosing_);
    container_->determineOp(this);
    return currentOp();
}

void Qel2DImage::computeTile(QelTile & tile, QelImageOp * op) {
    if (op == nullptr && container_ == nullptr) {
        qelRaise(QelErrorCode::noPixelSource,
                 "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an "
                 "QelImageOp or containing connection point with which to generate a tile "
                 "(getTile)");
    }
    QelThreadWork::Claim const claim(tile);
    if (!claim.won()) return;
    if (op == nullptr) {
        runContainer(tile);
    } else {
        runOp(*op, tile);
    }
}

void Qel2DImage::runContainer(QelTile & tile) {
    errno = 0;
    try {
        container_->computeTile(&tile);
        countCompute(tile.rect());
    } catch (ZanError &) {
        throw;
    } catch (...) {
        raiseTileFrame(*this, tile.tileId(), false);
    }
}

void Qel2DImage::runOp(QelImageOp & op, QelTile & tile) {
    errno = 0;
    try {
        op.getTile(&tile, opContext_);
        countCompute(tile.rect());
        if (container_ != nullptr && !computing()) container_->workDone(1);
    } catch (ZanError &) {
        throw;
    } catch (...) {
        raiseTileFrame(*this, tile.tileId(), true);
    }
}

void Qel2DImage::countCompute(QelRect const & rect) {
    tilesComputed_.fetch_add(1, std::memory_order_relaxed);
    pixelsComputed_.fetch_add(rect.area(), std::memory_order_relaxed);
}

Qel2DImage::Statistics Qel2DImage::statistics() const {
    return {tilesComputed_.load(std::memory_order_relaxed),
            pixelsComputed_.load(std::memory_order_relaxed),
            pixelsCopied_.load(std::memory_order_relaxed)};
}

std::uint32_t Qel2DImage::tileFlags(std::int32_t x, std::int32_t y) const {
    if (!grid().contains(x, y)) {
        throw std::out_of_range("Qel2DImage::tileFlags: (" + std::to_string(x) + "," +
                                std::to_string(y) + ") is outside the grid");
    }
    return grid().slot(x, y).flags().load(std::memory_order_relaxed);
}

// The slot of a tile that is in the grid; else null, and a line on the output if asked for.
Qel2DImage::Slot * Qel2DImage::slotOf(QelRenderedItem const * item, char const * operation,
                                      bool report) const {
    QelTile const * const tile = asTile(item);
    if (tile == nullptr) {
        if (report) {
            QelOutput::write(std::string("Not a tile in Qel2DImage::") + operation + "\n");
        }
        return nullptr;
    }
    QelTileId const & at = tile->tileId();
    Grid const & now = grid();
    if (now.contains(at.tileX, at.tileY)) return &now.slot(at.tileX, at.tileY);
    if (report) gridWith(at.tileX, at.tileY, operation);
    return nullptr;
}

void Qel2DImage::discardReference(QelRenderedItem * item) {
    Slot * const slot = slotOf(item, "discardReference", true);
    if (slot != nullptr && !slot->clear(static_cast<QelTile const *>(item))) {
        QelOutput::write("Invalid tile in Qel2DImage::discardReference\n");
    }
}

void Qel2DImage::notifyStateChange(QelRenderedItem * item, std::uint32_t mask, bool set) {
    bool const report = QelSystemConfig::traces(QelSystemConfig::traceActivity);
    Slot * const slot = slotOf(item, "notifyStateChange", report);
    if (slot == nullptr) return;
    if (!slot->holds(static_cast<QelTile const *>(item))) {
        if (report) QelOutput::write("Invalid tile in Qel2DImage::notifyStateChange\n");
        return;
    }
    if (!set) return;
    constexpr std::uint32_t populated = QelRenderedItem::pending | QelRenderedItem::complete;
    std::atomic<std::uint32_t> & flags = slot->flags();
    if (mask == QelRenderedItem::complete && (flags.load() & populated) == populated &&
        QelSystemConfig::traces(QelSystemConfig::strictTiles)) {
        raisePopulatedTwice(static_cast<QelTile const *>(item)->tileId());
    }
    if (mask == QelRenderedItem::pending)
        flags.fetch_and(~std::uint32_t{QelRenderedItem::complete});
    flags.fetch_or(mask);
}

void Qel2DImage::raisePopulatedTwice(QelTileId const & at) const {
    QelTextStream text;
    text << "insertTile(" << at.tileX << "," << at.tileY << ")for ";
    if (currentOp() != nullptr) text << QelCoreMisc::classNameOf(*currentOp()) << ' ';
    text << ": tile location was populated more than once. Possible Tile dependency mismatch";
    qelRaise(QelErrorCode::misuse, text.str());
}

QelItemOwner * Qel2DImage::getOwner() const {
    return container_ == nullptr ? nullptr : container_->getOwner();
}

void Qel2DImage::print(std::ostream & out) const {
    Grid const & now = grid();
    out << "Qel2DImage[";
    if (now.org) out << "tile=" << now.org->tileWidth() << 'x' << now.org->tileHeight() << ',';
    out << "image=" << now.rect.width << 'x' << now.rect.height << ",grid=" << now.across << 'x'
        << now.down << ']';
}

std::string Qel2DImage::describe() const {
    Grid const & now = grid();
    QelTextStream text;
    text << "Qel2DImage with\n    origin:         (" << now.rect.x << ',' << now.rect.y << ')'
         << "\n    width  (pixels): " << now.rect.width
         << "\n    height (pixels): " << now.rect.height << "\n    width  (tiles):  " << now.across
         << "\n    height (tiles):  " << now.down;
    appendSize(text, "\n    tile width:      ", now.org ? now.org->tileWidth() : 0, now.across,
               now.rect.width);
    appendSize(text, "\n    tile height:     ", now.org ? now.org->tileHeight() : 0, now.down,
               now.rect.height);
    text << "\n    2D op pointer:   " << (currentOp() != nullptr ? "Non-NULL" : "NULL")
         << "\n    container:       "
         << (container_ != nullptr ? container_->description() : std::string("NULL"));
    return text.str();
}

bool imageOutputInfo(Qel2DImage * image, QelImageInfo & info) {
    if (image != nullptr) return image->outputInfo(info);
    info.setStatus(QelError(QelErrorCode::misuse, "The op does not refer to any Qel2DImage",
                            __FILE__, __LINE__));
    return false;
}

std::ostream & operator<<(std::ostream & out, Qel2DImage const & image) {
    image.print(out);
    return out;
}
