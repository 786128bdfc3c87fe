#include "QelImageStreamData.h"

#include <new>
#include <ostream>
#include <utility>

#include "QelError.h"
#include "QelImageOutputCP.h"
#include "QelOutput.h"
#include "QelSimpleDataOrg.h"
#include "QelTransform.h"

QelImageStreamData::QelImageStreamData(QelOutputConnectionPoint * owner) : QelStreamData(owner) {
    resetContainer();
}

QelImageStreamData::~QelImageStreamData() {
    // Whoever still holds it must not reach the output, which is about to end.
    if (tileContainer_) tileContainer_->leaveOutput();
}

MoxSmartPtr<QelRenderedItemContainer> QelImageStreamData::getRenderedItemContainer() {
    return tileContainer_;
}

MoxSmartPtr<QelImageStreamData::TileContainer> QelImageStreamData::getTileContainer() {
    return tileContainer_;
}

void QelImageStreamData::resetContainer() {
    // Nobody else knows it: an empty one is as good as a new one.
    bool const isUnshared = tileContainer_ && tileContainer_->refCount() == 1;
    if (isUnshared) {
        tileContainer_->clear();
        if (tileContainer_->cacheTiles() != caching()) tileContainer_->setCacheTiles(caching());
        return;
    }
    MoxSmartPtr<TileContainer> fresh = new TileContainer(dynamic_cast<QelImageOutputCP *>(owner()));
    fresh->setCacheTiles(caching());
    if (tileContainer_) tileContainer_->leaveOutput();
    tileContainer_ = std::move(fresh);
}

void QelImageStreamData::setDataOrg(MoxSmartPtr<QelDataOrg> org) {
    resetContainer();
    dataOrg_ = std::move(org);
}

void QelImageStreamData::setPixelType(QelDataType type, int) {
    MoxSmartPtr<QelDataOrg> changed = dataOrg_ ? dataOrg_->withDataType(type) : nullptr;
    if (dataOrg_ && !changed) qelRaise(QelErrorCode::unsupported, "Invalid pixel type option");
    setDataOrg(std::move(changed));
}

void QelImageStreamData::setLayout(QelLayout layout) {
    if (dataOrg_ && dataOrg_->asSimple() == nullptr) {
        qelRaise(QelErrorCode::simpleDataOrgNeeded,
                 "QelImageStreamData::setLayout requires a QelSimpleDataOrg");
    }
    setDataOrg(dataOrg_ ? dataOrg_->withLayout(layout) : nullptr);
}

void QelImageStreamData::setCoordSpace(MoxSmartPtr<QelXyCoordSpace> space) {
    resetContainer();
    coordSpace_ = std::move(space);
}

void QelImageStreamData::setColorSpace(int bands, MoxSmartPtr<QelColorSpace> space) {
    MoxSmartPtr<QelDataOrg> changed = dataOrg_ ? dataOrg_->withBands(bands) : nullptr;
    if (dataOrg_ && !changed) qelRaise(QelErrorCode::unsupported, "Invalid number of bands");
    resetContainer();
    dataOrg_ = std::move(changed);
    colorSpace_ = std::move(space);
}

void QelImageStreamData::setAttributes(bool ok, MoxSmartPtr<QelXyCoordSpace> coordSpace,
                                       MoxSmartPtr<QelColorSpace> colorSpace,
                                       MoxSmartPtr<QelDataOrg> dataOrg) {
    // First, as the one step that can fail.
    resetContainer();
    coordSpace_ = std::move(coordSpace);
    colorSpace_ = std::move(colorSpace);
    dataOrg_ = std::move(dataOrg);
    setStatus(ok);
}

void QelImageStreamData::setAttributes(bool ok, bool clear) {
    if (clear) {
        setAttributes(ok, nullptr, nullptr, nullptr);
        return;
    }
    resetContainer();
    setStatus(ok);
}

MoxSmartPtr<QelXyCoordSpace> QelImageStreamData::getCoordSpace() {
    updatedStatus();
    return coordSpace_;
}

MoxSmartPtr<QelColorSpace> QelImageStreamData::getColorSpace() {
    updatedStatus();
    return colorSpace_;
}

MoxSmartPtr<QelDataOrg> QelImageStreamData::getDefaultDataOrg() {
    updatedStatus();
    return dataOrg_;
}

int QelImageStreamData::numBands() {
    updatedStatus();
    return dataOrg_ ? dataOrg_->numBands() : 0;
}

QelDataType QelImageStreamData::commonPrecision() {
    updatedStatus();
    return dataOrg_ ? dataOrg_->precision() : QelDataType(QelDataType::Error);
}

std::uint32_t QelImageStreamData::selectedPixelWidth() {
    updatedStatus();
    return coordSpace_ ? coordSpace_->numPixelsWide() : 0;
}

std::uint32_t QelImageStreamData::selectedPixelHeight() {
    updatedStatus();
    return coordSpace_ ? coordSpace_->numPixelsHigh() : 0;
}

QelXyCoordSpace & QelImageStreamData::requireCoordSpace() {
    updatedStatus();
    if (!coordSpace_) {
        qelRaise(QelErrorCode::nullPointer,
                 "There is no coordinate space in output " + describeOwner());
    }
    return *coordSpace_;
}

void QelImageStreamData::getMaxAvailableResolution(std::uint32_t & width, std::uint32_t & height) {
    requireCoordSpace().getMaxResolution(width, height);
}

MoxSmartPtr<QelXySimpleRegion> QelImageStreamData::getMaxResRegion() {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    getMaxAvailableResolution(width, height);
    if (width == 0 || height == 0) {
        qelRaise(QelErrorCode::noMatchingResolution,
                 "There is no max resolution to get -- any resolution is available");
    }
    MoxSmartPtr<QelXyCoordSpace> const space = coordSpace_->cloneXy();
    space->selectResolution(width, height);
    return MoxSmartPtr<QelXySimpleRegion>(new QelXySimpleRegion(space.get()));
}

bool QelImageStreamData::isReadyFor(char const * call) {
    if (updatedStatus()) return true;
    QelOutput::write(std::string("Bad status (") + call + ") in " + owner()->transformLabel() +
                     ':' + owner()->name() + '\n');
    return false;
}

MoxSmartPtr<Qel2DImage> QelImageStreamData::imageFor(QelTileId const & id, char const * call) {
    return isReadyFor(call) ? tileContainer_->getImage(id) : nullptr;
}

namespace {

QelTileId resolutionOf(QelXyRegion const * region) {
    if (region == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    return QelTileId(0, 0, region->xyCoordSpace().get());
}

QelXyRegion const & regionOf(QelImageRequestDesc const * request) {
    if (request == nullptr || !request->region()) {
        qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    }
    return *request->region();
}

void requireBuffer(QelRectBuffer const * buffer) {
    if (buffer == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
}

}  // namespace

MoxSmartPtr<Qel2DImage> QelImageStreamData::get2DImage(QelTileId const & id) {
    return updatedStatus() ? tileContainer_->getImage(id) : nullptr;
}

MoxSmartPtr<Qel2DImage> QelImageStreamData::get2DImage(QelXyRegion const * region) {
    return get2DImage(resolutionOf(region));
}

MoxSmartPtr<QelRectBuffer> QelImageStreamData::getData(QelImageRequestDesc const * request,
                                                       bool allowCopy) {
    QelXyRegion const & region = regionOf(request);
    MoxSmartPtr<Qel2DImage> const image = imageFor(resolutionOf(&region), "getData");
    return image ? image->getData(region.pixelBounds(), allowCopy) : nullptr;
}

bool QelImageStreamData::shareBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                                     bool allowCopy) {
    requireBuffer(buffer);
    QelXyRegion const & region = regionOf(request);
    MoxSmartPtr<Qel2DImage> const image = imageFor(resolutionOf(&region), "shareBuffer");
    if (!image) return false;
    bool const hadMemory = buffer->isAllocated();
    image->shareBuffer(buffer, region.pixelBounds(), allowCopy);
    return allowCopy || (!hadMemory && buffer->isAllocated());
}

bool QelImageStreamData::fillRWBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                                      bool allowCopy) {
    requireBuffer(buffer);
    MoxSmartPtr<Qel2DImage> const image =
        imageFor(resolutionOf(&regionOf(request)), "fillRWBuffer");
    return image && image->fillRWBuffer(buffer, allowCopy);
}

MoxSmartPtr<QelTile> QelImageStreamData::getTile(QelTileId const & id) {
    MoxSmartPtr<Qel2DImage> const image = imageFor(id, "getTile");
    return image ? image->getTile(id.tileX, id.tileY) : nullptr;
}

MoxSmartPtr<QelTile> QelImageStreamData::getTile(std::int32_t x, std::int32_t y,
                                                 QelXyCoordSpace const * space) {
    if (space == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    return getTile(QelTileId(x, y, space));
}

MoxSmartPtr<QelTile> QelImageStreamData::createTile(QelTileId const & id) {
    MoxSmartPtr<Qel2DImage> const image = imageFor(id, "getTile");
    return image ? image->createTile(id.tileX, id.tileY) : nullptr;
}

MoxSmartPtr<QelTile> QelImageStreamData::findTile(QelTileId const & id) {
    return isReadyFor("getTile") ? tileContainer_->findTile(id) : nullptr;
}

void QelImageStreamData::generateAll(QelRenderedItemContainer & container) {
    if (requireCoordSpace().numResolutions() == 0) {
        QelOutput::write("No available resolutions\n");
        return;
    }
    MoxSmartPtr<QelImageRequestDesc> const request = new QelImageRequestDesc(getMaxResRegion());
    generateDependencies(&container, request.get());
}

void QelImageStreamData::print(std::ostream & out, std::string const & indent) const {
    QelStreamData::print(out, indent);
    out << indent << "selected-pixel-width:  " << (coordSpace_ ? coordSpace_->numPixelsWide() : 0)
        << '\n'
        << indent << "selected-pixel-height: " << (coordSpace_ ? coordSpace_->numPixelsHigh() : 0)
        << '\n'
        << indent << "color space: " << (colorSpace_ ? colorSpace_->name() : "NULL") << '\n'
        << indent << "num-bands:   " << (dataOrg_ ? dataOrg_->numBands() : 0) << '\n'
        << indent << "precision:   "
        << (dataOrg_ ? dataOrg_->precision().name() : QelDataType(QelDataType::Error).name())
        << '\n';
    if (coordSpace_) {
        out << indent << "coord-space: " << coordSpace_->width() << " X " << coordSpace_->height()
            << '\n'
            << indent << "resolutions: ";
        for (unsigned i = 0; i < coordSpace_->numResolutions(); ++i) {
            QelXyCoordSpace::Resolution const row = coordSpace_->getResolution(i);
            out << (i > 0 ? ", " : "") << row.horz.pixels << " X " << row.vert.pixels;
        }
        out << '\n';
    }
    tileContainer_->printImages(out, indent + "tile-maps:   ");
}
