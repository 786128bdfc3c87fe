#include "QelImageOutputCP.h"

#include <utility>

#include "QelAliasCP.h"
#include "QelSystemConfig.h"

QelImageOutputCP::QelImageOutputCP(std::string name)
    : QelConnectionPoint(std::move(name)),
      ownStreamData_(std::make_unique<QelImageStreamData>(this)),
      imageStreamData_(ownStreamData_.get()) {
    setStreamDataPointer(imageStreamData_);
    setCachingFlag(QelSystemConfig::tileCachingDefault);
    if (caching()) imageStreamData_->setCachingClient(true);
}

QelImageOutputCP::QelImageOutputCP(Borrowing) : QelConnectionPoint(std::string()) {}

QelImageOutputCP::~QelImageOutputCP() {
    // Consumers turn to the stream data once more when they are disconnected.
    disconnectAll();
}

MoxSmartPtr<QelConnectionPoint> QelImageOutputCP::clone() const {
    return create(name());
}

MoxSmartPtr<QelConnectionPoint> QelImageOutputCP::create(std::string const & name) const {
    return MoxSmartPtr<QelConnectionPoint>(new QelImageOutputCP(name));
}

MoxSmartPtr<QelConnectionPoint> QelImageOutputCP::createAlias(std::string const & name) const {
    return MoxSmartPtr<QelConnectionPoint>(new QelImageAliasCP(name));
}

std::type_info const & QelImageOutputCP::getDataType() const {
    return typeid(QelImageStreamData);
}

QelImageStreamData & QelImageOutputCP::data(char const * operation) const {
    if (imageStreamData_ == nullptr) raiseNoStreamData(operation);
    return *imageStreamData_;
}

void QelImageOutputCP::setAttributes(MoxSmartPtr<QelDataOrg> dataOrg,
                                     MoxSmartPtr<QelXyCoordSpace> coordSpace,
                                     MoxSmartPtr<QelColorSpace> colorSpace, QelXyRegion const *,
                                     bool ok) {
    data("setAttributes")
        .setAttributes(ok, std::move(coordSpace), std::move(colorSpace), std::move(dataOrg));
}

void QelImageOutputCP::setAttributes(bool ok, bool clear) {
    data("setAttributes").setAttributes(ok, clear);
}

void QelImageOutputCP::setDataOrg(MoxSmartPtr<QelDataOrg> org) {
    data("setDataOrg").setDataOrg(std::move(org));
}

void QelImageOutputCP::setPixelType(QelDataType type, int precision) {
    data("setPixelType").setPixelType(type, precision);
}

void QelImageOutputCP::setLayout(QelLayout layout) {
    data("setLayout").setLayout(layout);
}

void QelImageOutputCP::setCoordSpace(MoxSmartPtr<QelXyCoordSpace> space) {
    data("setCoordSpace").setCoordSpace(std::move(space));
}

void QelImageOutputCP::setColorSpace(int bands, MoxSmartPtr<QelColorSpace> space) {
    data("setColorSpace").setColorSpace(bands, std::move(space));
}

MoxSmartPtr<QelXyCoordSpace> QelImageOutputCP::getCoordSpace() const {
    return data("getCoordSpace").getCoordSpace();
}

MoxSmartPtr<QelColorSpace> QelImageOutputCP::getColorSpace() const {
    return data("getColorSpace").getColorSpace();
}

MoxSmartPtr<QelDataOrg> QelImageOutputCP::getDataOrg() const {
    return data("getDataOrg").getDataOrg();
}

MoxSmartPtr<QelDataOrg> QelImageOutputCP::getDefaultDataOrg() const {
    return data("getDefaultDataOrg").getDefaultDataOrg();
}

int QelImageOutputCP::numBands() const {
    return data("numBands").numBands();
}

QelDataType QelImageOutputCP::commonPrecision() const {
    return data("commonPrecision").commonPrecision();
}

void QelImageOutputCP::getMaxAvailableResolution(std::uint32_t & width,
                                                 std::uint32_t & height) const {
    data("getMaxAvailableResolution").getMaxAvailableResolution(width, height);
}

MoxSmartPtr<QelXySimpleRegion> QelImageOutputCP::getMaxResRegion() const {
    return data("getMaxResRegion").getMaxResRegion();
}

MoxSmartPtr<QelImageStreamData::TileContainer> QelImageOutputCP::getTileContainer() const {
    return data("getTileContainer").getTileContainer();
}

MoxSmartPtr<Qel2DImage> QelImageOutputCP::get2DImage(QelTileId const & id) const {
    return data("get2DImage").get2DImage(id);
}

MoxSmartPtr<Qel2DImage> QelImageOutputCP::get2DImage(QelXyRegion const * region) const {
    return data("get2DImage").get2DImage(region);
}

MoxSmartPtr<QelRectBuffer> QelImageOutputCP::getData(QelImageRequestDesc const * request,
                                                     bool allowCopy) const {
    return data("getData").getData(request, allowCopy);
}

bool QelImageOutputCP::shareBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                                   bool allowCopy) const {
    return data("shareBuffer").shareBuffer(buffer, request, allowCopy);
}

bool QelImageOutputCP::fillRWBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                                    bool allowCopy) const {
    return data("fillRWBuffer").fillRWBuffer(buffer, request, allowCopy);
}

MoxSmartPtr<QelTile> QelImageOutputCP::getTile(QelTileId const & id) const {
    return data("getTile").getTile(id);
}

MoxSmartPtr<QelTile> QelImageOutputCP::getTile(std::int32_t x, std::int32_t y,
                                               QelXyCoordSpace const * space) const {
    return data("getTile").getTile(x, y, space);
}

MoxSmartPtr<QelTile> QelImageOutputCP::createTile(QelTileId const & id) const {
    return data("createTile").createTile(id);
}

MoxSmartPtr<QelTile> QelImageOutputCP::findTile(QelTileId const & id) const {
    return data("findTile").findTile(id);
}
