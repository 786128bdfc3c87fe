#include <utility>
#include <vector>

#include "QelCompute.h"
#include "QelDependencyPass.h"
#include "QelError.h"
#include "QelImageInputCP.h"
#include "QelImageOutputCP.h"
#include "QelImageRequestDesc.h"
#include "QelItemOwnerOf.h"
#include "QelOutput.h"
#include "QelRegionClone.h"
#include "QelSystemConfig.h"
#include "QelTextStream.h"
#include "QelTransform.h"
#include "QelXySimpleRegion.h"

namespace {

bool traces() {
    return QelSystemConfig::traces(QelSystemConfig::traceActivity);
}

template <class... Parts>
void trace(Parts const &... parts) {
    QelTextStream line;
    (line << ... << parts);
    line << '\n';
    QelOutput::write(line.str());
}

QelImageOutputCP * imageOutputOf(QelOutputConnectionPoint * output) {
    return dynamic_cast<QelImageOutputCP *>(output);
}

QelXyRegion & regionOf(QelImageRequestDesc const * request) {
    if (request == nullptr || !request->region()) {
        qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    }
    return *request->region();
}

QelTileId resolutionOf(QelXyRegion const & region) {
    return QelTileId(0, 0, region.xyCoordSpace().get());
}

QelImageOutputCP & outputOf(QelImageRequestDesc const & request) {
    if (request.output() == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "The request names no output connection point");
    }
    return *request.output();
}

// All of `space` at the resolution of `region`, as a region of the same class.
MoxSmartPtr<QelXyRegion> wholeAt(QelXyRegion const & region,
                                 MoxSmartPtr<QelXyCoordSpace> const & space) {
    if (!space) return nullptr;
    QelTileId const size = resolutionOf(region);
    MoxSmartPtr<QelXyRegion> whole = qelCloneIn(*space, size, region);
    whole->setPixelBounds(QelRect(0, 0, size.resolutionWidth, size.resolutionHeight));
    return whole;
}

}  // namespace

MoxSmartPtr<QelXyRegion> QelTransform::getInputRegion(QelXyRegion const & outputRegion,
                                                      int inputIndex, int) {
    MoxSmartPtr<QelInputConnectionPoint> const input = getInputCP(inputIndex);
    auto const * const image = dynamic_cast<QelImageInputCP const *>(input.get());
    if (image == nullptr || image->imageStreamData() == nullptr) return nullptr;
    return wholeAt(outputRegion, image->getCoordSpace());
}

MoxSmartPtr<QelXyRegion> QelTransform::getOutputRegion(QelXyRegion const & inputRegion, int,
                                                       int outputIndex) {
    MoxSmartPtr<QelOutputConnectionPoint> const output = getOutputCP(outputIndex);
    QelImageOutputCP const * const image = imageOutputOf(output.get());
    return image != nullptr ? wholeAt(inputRegion, image->getCoordSpace()) : nullptr;
}

MoxSmartPtr<QelTile> QelTransform::getTile(MoxSmartPtr<QelTile> tile,
                                           MoxSmartPtr<QelImageRequestDesc> request) {
    if (!tile) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    QelXyRegion const & asked = regionOf(request.get());
    if (!isStatusOk()) return nullptr;
    if (tile->isState(QelRenderedItem::complete)) {
        if (traces()) {
            trace("tile ", tile->tileId(), " is already populated in QelTransform::getTile ",
                  label_);
        }
        return tile;
    }
    if (traces()) {
        trace("calling genTile for ", getClassName(), ' ', label_, ' ',
              request->output() != nullptr ? request->output()->name() : std::string("NULL"), ' ',
              tile->tileId(), ' ', tile->rect());
    }
    MoxSmartPtr<QelXyRegion> const region = qelCloneOf(&asked);
    region->setPixelBounds(tile->rect());
    genTile(tile, new QelImageRequestDesc(region, request->output()));
    tile->setComplete(true);
    return tile;
}

void QelTransform::genTile(MoxSmartPtr<QelTile> tile, MoxSmartPtr<QelImageRequestDesc> request) {
    if (!tile || !request) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    auto * const output = dynamic_cast<QelImageOutputCP *>(qelItemOwnerOf(*tile));
    if (output != nullptr) request->setOutput(output);
    genRect(tile, request);
}

namespace {

// Asking for the tile that is to be made here would lead back to here.
void refuseOwnTile(QelRectBuffer const & buffer, Qel2DImage::TileIterator const & at) {
    MoxSmartPtr<QelTile> const tile = at.findTile();
    if (tile.get() != &buffer || tile->isState(QelRenderedItem::complete)) return;
    qelRaise(QelErrorCode::noPixelSource,
             "An Qel2DImage has no tile or rectbuffer with allocated data, nor does it have an "
             "QelImageOp or containing connection point with which to generate a tile (getTile)");
}

}  // namespace

void QelTransform::genRect(MoxSmartPtr<QelRectBuffer> buffer,
                           MoxSmartPtr<QelImageRequestDesc> request) {
    if (!buffer) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    QelXyRegion const & region = regionOf(request.get());
    if (!isStatusOk()) {
        qelRaise(QelErrorCode::misuse,
                 "Bad status found when calling genRect in " + label_ + ':' + getClassName());
    }
    QelRect const box = region.pixelBounds();
    QelImageOutputCP & output = outputOf(*request);
    MoxSmartPtr<QelImageOp> const op = determineOp(resolutionOf(region), findOutputIndex(&output));
    if (op) {
        if (traces()) {
            trace("Delegate to computation layer op: ", getClassName(), ' ', box, ' ',
                  buffer->rect());
        }
        MoxSmartPtr<QelRectBuffer> const part = buffer->subBuffer(box);
        if (!part->rect().isEmpty()) qelCompute(op.get(), part.get());
        return;
    }
    MoxSmartPtr<Qel2DImage> const image = output.get2DImage(&region);
    QelRect const rect = box.intersect(buffer->rect());
    for (Qel2DImage::TileIterator i(image.get(), rect); !i.done(); i.next()) {
        refuseOwnTile(*buffer, i);
        MoxSmartPtr<QelTile> const tile =
            output.getTile(QelTileId(resolutionOf(region), i.tileX(), i.tileY()));
        if (tile) buffer->copyFrom(*tile, rect.intersect(tile->rect()));
    }
}

bool QelTransform::fillRect(MoxSmartPtr<QelRectBuffer> buffer,
                            MoxSmartPtr<QelImageRequestDesc> request, bool useTiles) {
    if (!buffer) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    QelXyRegion const & region = regionOf(request.get());
    if (!isStatusOk()) {
        QelOutput::write("Bad status found when calling fillRect in " + label_ + ':' +
                         getClassName() + '\n');
        return false;
    }
    if (traces() && buffer->isAllocated()) trace("fillrect is allocated -- ", label_);
    QelImageOutputCP & output = outputOf(*request);
    MoxSmartPtr<Qel2DImage> const image = output.get2DImage(&region);
    QelRect const rect = region.pixelBounds().intersect(buffer->rect());
    for (Qel2DImage::TileIterator i(image.get(), rect); !i.done(); i.next()) {
        fillFromTile(*buffer, *request, rect, i, useTiles);
    }
    return true;
}

namespace {

// The holders of a tile and of its memory, less one.
int useCountOf(QelTile const & tile) {
    QelDataBuffer const * const memory = tile.dataBuffer().get();
    return tile.refCount() + (memory != nullptr ? memory->refCount() : 0) - 1;
}

}  // namespace

void QelTransform::fillFromTile(QelRectBuffer & buffer, QelImageRequestDesc const & request,
                                QelRect const & rect, Qel2DImage::TileIterator const & at,
                                bool useTiles) {
    constexpr int worthIt = 3;
    MoxSmartPtr<QelTile> tile = at.findTile();
    if (!tile) {
        tile = at.createTile();
        if (traces()) trace("fillrect ", label_, " created tile ", tile->tileId());
    }
    bool const populated = tile->isState(QelRenderedItem::complete);
    // This function's own hold on the tile does not count.
    int const uses = useCountOf(*tile) - 1;
    MoxSmartPtr<QelRectBuffer> const part = buffer.subBuffer(rect.intersect(tile->rect()));
    if (useTiles && (populated || uses >= worthIt)) {
        if (traces()) trace("copying ", tile->tileId());
        MoxSmartPtr<QelTile> const made = outputOf(request).getTile(tile->tileId());
        if (traces()) trace("Data gotten -- about to copy");
        if (made) part->copyFrom(*made, part->rect());
        return;
    }
    if (traces()) {
        trace("propagating fill rect instead of filling tile ", tile->tileId(),
              populated ? "is populated " : " not populated", uses);
    }
    MoxSmartPtr<QelXyRegion> const region = qelCloneOf(&regionOf(&request));
    region->setPixelBounds(part->rect());
    genRect(part, new QelImageRequestDesc(region, request.output()));
}

bool QelTransform::canGenRect(QelRectBuffer * buffer, int outputIndex) {
    if (buffer == nullptr || buffer->dataOrg() == nullptr) return false;
    return canGenRectForData(buffer->dataOrg(), outputIndex);
}

bool QelTransform::canGenRectForData(QelDataOrg const * dataOrg, int outputIndex) {
    MoxSmartPtr<QelOutputConnectionPoint> const output = getOutputCP(outputIndex);
    QelImageOutputCP const * const image = imageOutputOf(output.get());
    if (image == nullptr || dataOrg == nullptr) return false;
    MoxSmartPtr<QelDataOrg> const own = image->getDefaultDataOrg();
    return own && own->numBands() == dataOrg->numBands() &&
           own->precision() == dataOrg->precision();
}

void QelTransform::computeData() {
    qelRaise(QelErrorCode::misuse, "Should not be calling QelTransform::computeData");
}

// ---- Dependencies

namespace {

QelOutputConnectionPoint & outputOwning(QelRenderedItem const & item) {
    auto * const output = dynamic_cast<QelOutputConnectionPoint *>(qelItemOwnerOf(item));
    if (output == nullptr) {
        qelRaise(QelErrorCode::misuse,
                 "Internal Logic Error: Rendered item does not belong to any output connection "
                 "point");
    }
    return *output;
}

// The rectangle of a tile as a region of its output; null for an output without a space.
MoxSmartPtr<QelXyRegion> regionOfTile(QelRenderedItem const & item, QelImageOutputCP & output) {
    auto const * const tile = dynamic_cast<QelTile const *>(&item);
    if (tile == nullptr) {
        qelRaise(QelErrorCode::badRequest, "The rendered item for an output image was not a tile");
    }
    QelTileId const & id = tile->tileId();
    MoxSmartPtr<QelXyCoordSpace> const known = output.getCoordSpace();
    if (!known) return nullptr;
    MoxSmartPtr<QelXyCoordSpace> const space = known->cloneXy();
    space->selectResolution(static_cast<std::uint32_t>(id.resolutionWidth),
                            static_cast<std::uint32_t>(id.resolutionHeight));
    MoxSmartPtr<QelXyRegion> region = new QelXySimpleRegion(space.get());
    region->setPixelBounds(tile->rect());
    return region;
}

// What an item needs of one input.
struct NeededPart {
    QelStreamData & data;
    bool isImage;
    // Null for all of it.
    MoxSmartPtr<QelXyRegion> region;

    void addTo(QelSmartRenderedItemVector & list) const {
        if (region) {
            MoxSmartPtr<QelImageRequestDesc> const request = new QelImageRequestDesc(region);
            data.generateDependencies(&list, request.get());
        } else if (isImage) {
            data.generateDependencies(&list);
        } else {
            data.generateDependencies(&list, nullptr);
        }
    }
    // Is this a whole image, at the resolution of its region?
    bool isWhole() const {
        if (!region) return false;
        QelTileId const size = resolutionOf(*region);
        return region->pixelBounds() == QelRect(0, 0, size.resolutionWidth, size.resolutionHeight);
    }
};

using NeededParts = std::vector<NeededPart>;

void addEachPart(NeededParts const & parts, QelSmartRenderedItemVector & list) {
    for (NeededPart const & part : parts)
        part.addTo(list);
}

// The list that all tiles of the image share, if each needs whole images only; else null.
MoxSmartPtr<QelSmartRenderedItemVector> commonListOf(QelRenderedItem const & item,
                                                     NeededParts const & parts) {
    QelDependencyPass * const pass = QelDependencyPass::ofThisThread();
    if (pass == nullptr || parts.empty()) return nullptr;
    std::vector<QelTileId> resolutions;
    for (NeededPart const & part : parts) {
        if (!part.isWhole()) return nullptr;
        resolutions.push_back(resolutionOf(*part.region));
    }
    return pass->commonList(
        item.container(), resolutions,
        [&parts](QelSmartRenderedItemVector & list) { addEachPart(parts, list); });
}

}  // namespace

void QelTransform::generateDependencies(QelRenderedItem * item,
                                        QelSmartRenderedItemVector * dependencies) {
    if (item == nullptr || dependencies == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    }
    // Ahead of the update, which may take the item's container away.
    QelOutputConnectionPoint & output = outputOwning(*item);
    update();
    QelImageOutputCP * const outputImage = imageOutputOf(&output);
    int const outputIndex = findOutputIndex(&output);
    NeededParts parts;
    for (int i = 0; i < numInputs(); ++i) {
        QelInputConnectionPoint const & input = *inputs_[static_cast<std::size_t>(i)];
        MoxSmartPtr<QelOutputConnectionPoint> const provider = input.getConnectedOutput(true);
        if (!provider || provider->streamData() == nullptr) continue;
        if (!isInputNeeded(i, outputIndex)) continue;
        bool const isImage = dynamic_cast<QelImageInputCP const *>(&input) != nullptr;
        MoxSmartPtr<QelXyRegion> region;
        if (isImage && outputImage != nullptr) {
            MoxSmartPtr<QelXyRegion> const part = regionOfTile(*item, *outputImage);
            if (part) region = getInputRegion(*part, i, outputIndex);
            if (!region) continue;
        }
        parts.push_back({*provider->streamData(), isImage, region});
    }
    MoxSmartPtr<QelSmartRenderedItemVector> const common = commonListOf(*item, parts);
    if (common) {
        dependencies->addEach(*common);
    } else {
        addEachPart(parts, *dependencies);
    }
}

void QelTransform::generateDependenciesHeld(MoxSmartPtr<QelRenderedItem> item,
                                            MoxSmartPtr<QelSmartRenderedItemVector> dependencies) {
    generateDependencies(item.get(), dependencies.get());
}
