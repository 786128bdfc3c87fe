#include "QelVectorTileContainer.h"

#include <memory>
#include <optional>
#include <ostream>
#include <utility>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelImageOutputCP.h"
#include "QelImageRequestDesc.h"
#include "QelOutput.h"
#include "QelSystemConfig.h"
#include "QelTextStream.h"
#include "QelTransform.h"
#include "QelXySimpleRegion.h"

template <class Id>
QelVectorTileContainer<Id>::QelVectorTileContainer(QelImageOutputCP * owner)
    : QelTileContainer<Id>(owner),
      output_(owner),
      cacheTiles_(QelSystemConfig::tileCachingDefault) {}

template <class Id>
QelVectorTileContainer<Id>::~QelVectorTileContainer() {
    clear();
}

template <class Id>
void QelVectorTileContainer<Id>::leaveOutput() {
    clear();
    output_ = nullptr;
}

template <class Id>
QelTransform * QelVectorTileContainer<Id>::transform() const {
    return output_ != nullptr ? output_->owner() : nullptr;
}

template <class Id>
QelTransform & QelVectorTileContainer<Id>::requireTransform() const {
    if (transform() == nullptr) {
        qelRaise(QelErrorCode::noPixelSource, description() + " has no transform");
    }
    return *transform();
}

template <class Id>
int QelVectorTileContainer<Id>::outputIndex() const {
    return requireTransform().findOutputIndex(output_);
}

// ---- Images

template <class Id>
MoxSmartPtr<Qel2DImage> QelVectorTileContainer<Id>::findImage(Id const & id) const {
    std::lock_guard const guard(lock_);
    auto const found = images_.find(id);
    return found != images_.end() ? found->second : nullptr;
}

template <class Id>
int QelVectorTileContainer<Id>::numImages() const {
    std::lock_guard const guard(lock_);
    return static_cast<int>(images_.size());
}

template <class Id>
MoxSmartPtr<Qel2DImage> QelVectorTileContainer<Id>::getImage(Id const & id) {
    MoxSmartPtr<Qel2DImage> image = findImage(id);
    // Made without the lock: the transform may ask for other images meanwhile.
    return image ? image : keepImage(id, makeImage(id));
}

template <class Id>
MoxSmartPtr<Qel2DImage> QelVectorTileContainer<Id>::makeImage(Id const & id) {
    if (id.resolutionWidth < 1 || id.resolutionHeight < 1) {
        QelTextStream text;
        text << "Cannot make an image of " << id.resolutionWidth << " by " << id.resolutionHeight
             << " pixels, because no resolution is selected";
        qelRaise(QelErrorCode::noSelectedResolution, text.str());
    }
    MoxSmartPtr<QelImageOp> const op =
        transform() != nullptr ? transform()->determineOp(id, outputIndex()) : nullptr;
    if (op) {
        return MoxSmartPtr<Qel2DImage>(new Qel2DImage(id, op.get(), this));
    }
    QelImageStreamData * const data = output_ != nullptr ? output_->imageStreamData() : nullptr;
    MoxSmartPtr<QelDataOrg> org = data != nullptr ? data->getDataOrg() : nullptr;
    if (!org) org = QelImageInfo(id.resolutionWidth, id.resolutionHeight).dataOrg();
    return MoxSmartPtr<Qel2DImage>(
        new Qel2DImage(id, org.get(), id.resolutionWidth, id.resolutionHeight, this));
}

template <class Id>
MoxSmartPtr<Qel2DImage> QelVectorTileContainer<Id>::keepImage(Id const & id,
                                                              MoxSmartPtr<Qel2DImage> image) {
    if (cacheTiles_) image->setCacheTiles(true);
    // The key is a place of its own: only the resolution counts.
    MoxSmartPtr<Qel2DImage> kept;
    {
        std::lock_guard const guard(lock_);
        kept = images_.try_emplace(id, image).first->second;
    }
    // Where another thread was faster this one goes, and nobody has seen it.
    bool const isNew = kept == image;
    if (isNew && QelSystemConfig::traces(QelSystemConfig::traceActivity)) {
        traceNewImage(*image, id);
    }
    return kept;
}

template <class Id>
void QelVectorTileContainer<Id>::traceNewImage(Qel2DImage const & image, Id const & id) const {
    QelTextStream text;
    text << "created new 2DImage (X) " << static_cast<void const *>(&image) << " for "
         << (output_ != nullptr ? output_->name() + ' ' + output_->transformLabel()
                                : std::string("NULL"))
         << ' ' << id << "\n      img size " << image.imageRect().width << ' '
         << image.imageRect().height << '\n';
    print(text);
    QelOutput::write(text.str());
}

template <class Id>
std::vector<MoxSmartPtr<Qel2DImage>> QelVectorTileContainer<Id>::allImages() const {
    std::lock_guard const guard(lock_);
    std::vector<MoxSmartPtr<Qel2DImage>> images;
    images.reserve(images_.size());
    for (auto const & [id, image] : images_)
        images.push_back(image);
    return images;
}

template <class Id>
void QelVectorTileContainer<Id>::setCacheTiles(bool cache) {
    if (cache == cacheTiles_) return;
    cacheTiles_ = cache;
    // One by one, since a copy of the list would take memory: connecting comes here, and must not
    // fail half way. Without the lock, since tiles that are dropped come back here.
    std::optional<Id> last;
    auto const next = [&]() -> MoxSmartPtr<Qel2DImage> {
        std::lock_guard const guard(lock_);
        auto const found = last ? images_.upper_bound(*last) : images_.begin();
        if (found == images_.end()) return nullptr;
        last = found->first;
        return found->second;
    };
    while (MoxSmartPtr<Qel2DImage> const image = next())
        image->setCacheTiles(cache);
}

template <class Id>
void QelVectorTileContainer<Id>::clear() {
    Images dropped;
    {
        std::lock_guard const guard(lock_);
        dropped.swap(images_);
    }
    for (auto const & [id, image] : dropped)
        image->leaveContainer();
}

// ---- Tiles

template <class Id>
void QelVectorTileContainer<Id>::add(QelRenderedItem * item) {
    if (item == nullptr) addTile(nullptr);
    QelTileContainer<Id>::add(item);
}

template <class Id>
void QelVectorTileContainer<Id>::addTile(QelTile * tile) {
    if (tile == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "QelVectorTileContainer::add called with a null pointer");
    }
    QelTileId const & id = tile->tileId();
    MoxSmartPtr<Qel2DImage> const image = getImage(id);
    if (image->findTile(id.tileX, id.tileY)) {
        QelTextStream text;
        text << "Attempted to add a tile that was already present: " << id
             << " in connection point "
             << (output_ != nullptr ? output_->name() : std::string("NULL")) << " of "
             << (transform() != nullptr ? transform()->getClassName() : std::string("NULL"))
             << " labelled "
             << (output_ != nullptr ? output_->transformLabel() : std::string("NULL"));
        qelRaise(QelErrorCode::tilePresent, text.str());
    }
    image->insertTile(tile);
}

template <class Id>
MoxSmartPtr<QelTile> QelVectorTileContainer<Id>::findTile(Id const & id) {
    MoxSmartPtr<Qel2DImage> const image = findImage(id);
    return image ? image->findTile(id.tileX, id.tileY) : nullptr;
}

template <class Id>
MoxSmartPtr<QelTile> QelVectorTileContainer<Id>::findOrCreateTile(Id const & id) {
    MoxSmartPtr<Qel2DImage> const image = getImage(id);
    MoxSmartPtr<QelTile> tile = image->findTile(id.tileX, id.tileY);
    return tile ? tile : image->createTile(id.tileX, id.tileY);
}

template <class Id>
void QelVectorTileContainer<Id>::discardReference(QelRenderedItem * item) {
    auto const * const tile = dynamic_cast<QelTile const *>(item);
    if (tile == nullptr) {
        qelRaise(QelErrorCode::notATile,
                 "QelVectorTileContainer::discardReference was called by a rendered item that is "
                 "not a tile");
    }
    MoxSmartPtr<Qel2DImage> const image = findImage(tile->tileId());
    if (!image) {
        qelRaise(QelErrorCode::notATile,
                 "QelVectorTileContainer::discardReference was called by a tile that was not in "
                 "the container ");
    }
    MoxSmartPtr<QelTile> const present =
        image->findTile(tile->tileId().tileX, tile->tileId().tileY);
    image->discardReference(item);
    // One that lives on has left for good: its end is no business of the image, which may go first.
    if (present != tile) return;
    present->setContainer(nullptr);
    if (image->cacheTiles()) present->deleteRef();
}

template <class Id>
class QelVectorTileContainer<Id>::AllTiles
    : public QelRenderedItemContainer::Iterator::SubIterator {
  public:
    explicit AllTiles(std::vector<MoxSmartPtr<Qel2DImage>> images) : images_(std::move(images)) {
        find();
    }

    bool done() const override { return !tile_; }
    void next() override {
        step();
        find();
    }
    MoxSmartPtr<QelRenderedItem> get() const override { return tile_; }

  private:
    void step() {
        if (++x_ < images_[at_]->tilesAcross()) return;
        x_ = 0;
        if (++y_ < images_[at_]->tilesDown()) return;
        y_ = 0;
        ++at_;
    }
    // The first tile that exists, from the present place on.
    void find() {
        for (tile_ = nullptr; at_ < images_.size(); step()) {
            if (y_ >= images_[at_]->tilesDown() || x_ >= images_[at_]->tilesAcross()) continue;
            tile_ = images_[at_]->findTile(x_, y_);
            if (tile_) return;
        }
    }

    std::vector<MoxSmartPtr<Qel2DImage>> images_;
    std::size_t at_ = 0;
    std::int32_t x_ = 0;
    std::int32_t y_ = 0;
    MoxSmartPtr<QelTile> tile_;
};

template <class Id>
class QelVectorTileContainer<Id>::TilesOfRegion
    : public QelRenderedItemContainer::Iterator::SubIterator {
  public:
    TilesOfRegion(Qel2DImage * image, QelRect const & rect) : tiles_(image, rect) {}

    bool done() const override { return tiles_.done(); }
    void next() override { tiles_.next(); }
    MoxSmartPtr<QelRenderedItem> get() const override { return tiles_.createTile(); }

  private:
    Qel2DImage::TileIterator tiles_;
};

template <class Id>
QelRenderedItemContainer::Iterator QelVectorTileContainer<Id>::makeIterator(QelDataDesc * desc) {
    using Items = QelRenderedItemContainer::Iterator;
    if (desc == nullptr) return Items(std::make_unique<AllTiles>(allImages()));
    auto const * const request = dynamic_cast<QelImageRequestDesc const *>(desc);
    if (request == nullptr) {
        qelRaise(QelErrorCode::badRequest,
                 "The DataDesc for iterating over an output connection point that is an image "
                 "output connection point was not an QelImageRequestDesc");
    }
    MoxSmartPtr<QelXyRegion> const region = request->region();
    if (!region) qelRaise(QelErrorCode::noRegion, "Null region provided to Iterator");
    MoxSmartPtr<Qel2DImage> const image = getImage(QelTileId(0, 0, region->xyCoordSpace().get()));
    return Items(std::make_unique<TilesOfRegion>(image.get(), region->pixelBounds()));
}

// ---- Texts

template <class Id>
QelItemOwner * QelVectorTileContainer<Id>::getOwner() const {
    return output_;
}

template <class Id>
std::string QelVectorTileContainer<Id>::ownerText() const {
    if (output_ == nullptr) return "with no owner connection point";
    return "owned by connection point named '" + output_->name() + " of transform labeled " +
           output_->transformLabel();
}

template <class Id>
std::string QelVectorTileContainer<Id>::description() const {
    return std::string("QelVectorTileContainer<") + QelCoreMisc::typeNameOf(typeid(Id)) + "> " +
           ownerText();
}

template <class Id>
void QelVectorTileContainer<Id>::print(std::ostream & out) const {
    out << "TILE CONTAINER \n";
    char const * separator = "";
    for (AllTiles tiles(allImages()); !tiles.done(); tiles.next()) {
        out << separator;
        tiles.get()->print(out);
        out << '\n';
        separator = "-----\n";
    }
    out << "TILE CONTAINER END\n";
}

template <class Id>
void QelVectorTileContainer<Id>::printImages(std::ostream & out, std::string const & prefix) const {
    int number = 0;
    for (MoxSmartPtr<Qel2DImage> const & image : allImages()) {
        MoxSmartPtr<QelImageOp> const op = image->op();
        out << prefix << number++ << ": image size " << image->imageRect().width << " X "
            << image->imageRect().height << "            [id: " << *image->id();
        if (op) {
            out << ' ' << QelCoreMisc::classNameOf(*op);
        } else {
            out << " -- no op -- ";
        }
        out << "]\n";
    }
}

// ---- The way from images to the transform

namespace {

template <class T>
T & given(T * argument) {
    if (argument == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    return *argument;
}

// A client's own image, made with this container, need not have an id.
QelTileId resolutionOf(Qel2DImage const & image) {
    if (image.id() != nullptr) return *image.id();
    return QelTileId(0, 0, image.imageRect().width, image.imageRect().height);
}

}  // namespace

template <class Id>
MoxSmartPtr<QelTile> QelVectorTileContainer<Id>::createTile(Qel2DImage * image, std::int32_t x,
                                                            std::int32_t y) {
    QelTileId const id(resolutionOf(given(image)), x, y);
    MoxSmartPtr<QelTile> tile = new QelTile(image->dataOrg().get(), id);
    return image->insertTile(tile.get());
}

template <class Id>
void QelVectorTileContainer<Id>::determineOp(Qel2DImage * image) {
    QelTileId const id = resolutionOf(given(image));
    if (transform() == nullptr) return;
    MoxSmartPtr<QelImageOp> const op = transform()->determineOp(id, outputIndex());
    if (op) image->setOp(op.get());
}

template <class Id>
MoxSmartPtr<QelImageRequestDesc> QelVectorTileContainer<Id>::requestFor(
    QelTileId const & id, QelRect const & rect) const {
    MoxSmartPtr<QelXyCoordSpace> const known = output_->imageStreamData()->getCoordSpace();
    auto const width = static_cast<std::uint32_t>(id.resolutionWidth);
    auto const height = static_cast<std::uint32_t>(id.resolutionHeight);
    MoxSmartPtr<QelXyCoordSpace> space =
        known ? known->cloneXy() : MoxSmartPtr<QelXyCoordSpace>(new QelXyCoordSpace(width, height));
    space->selectResolution(width, height);
    MoxSmartPtr<QelXyRegion> const region = new QelXySimpleRegion(space.get());
    region->setPixelBounds(rect);
    return MoxSmartPtr<QelImageRequestDesc>(new QelImageRequestDesc(region, output_));
}

template <class Id>
template <class Place>
void QelVectorTileContainer<Id>::traceFallback(char const * text, Place const & place) const {
    if (!QelSystemConfig::traces(QelSystemConfig::traceActivity)) return;
    QelTextStream line;
    line << text << place << ' ' << requireTransform().getClassName() << ' '
         << output_->transformLabel() << ' ' << output_->name() << '\n';
    QelOutput::write(line.str());
}

template <class Id>
void QelVectorTileContainer<Id>::computeByTransform(QelTile * tile, char const * trace) {
    QelTransform & transform = requireTransform();
    QelTileId const & id = given(tile).tileId();
    traceFallback(trace, id);
    MoxSmartPtr<QelTile> const done = transform.getTile(tile, requestFor(id, tile->rect()));
    // A bad status is no exception for who asks the output, but the image needs its pixels.
    if (!done) throw QelError(transform.getStatusMessage());
}

template <class Id>
void QelVectorTileContainer<Id>::computeTile(QelTile * tile) {
    computeByTransform(tile, "Resorting to Transform-level computation ");
}

template <class Id>
void QelVectorTileContainer<Id>::genTile(QelTile * tile) {
    computeByTransform(tile, "Resorting to Transform-level computation (genTile) ");
}

template <class Id>
void QelVectorTileContainer<Id>::genRect(Qel2DImage * image, QelRectBuffer * buffer) {
    QelTransform & transform = requireTransform();
    QelRect const & rect = given(buffer).rect();
    QelTileId const id = resolutionOf(given(image));
    traceFallback("Resorting to Transform-level computation (genRect) ", rect);
    transform.genRect(buffer, requestFor(id, rect));
}

template <class Id>
bool QelVectorTileContainer<Id>::canGenTile(QelTile * tile) {
    return transform() != nullptr && transform()->canGenRect(tile, outputIndex());
}

template <class Id>
bool QelVectorTileContainer<Id>::canGenRect(QelRectBuffer * buffer) {
    return transform() != nullptr && transform()->canGenRect(buffer, outputIndex());
}

template <class Id>
void QelVectorTileContainer<Id>::workDone(int) {
    // Progress is counted by the context of a render; there is none outside of one.
}

template class QelVectorTileContainer<QelTileId>;
