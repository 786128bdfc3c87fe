#include "QelImageInputCP.h"

#include <utility>

#include "QelAliasCP.h"
#include "QelSystemConfig.h"

QelImageInputCP::QelImageInputCP(std::string name) : QelConnectionPoint(std::move(name)) {
    setCachingFlag(QelSystemConfig::tileCachingDefault);
}

QelImageInputCP::~QelImageInputCP() = default;

MoxSmartPtr<QelConnectionPoint> QelImageInputCP::clone() const {
    return create(name());
}

MoxSmartPtr<QelConnectionPoint> QelImageInputCP::create(std::string const & name) const {
    return MoxSmartPtr<QelConnectionPoint>(new QelImageInputCP(name));
}

MoxSmartPtr<QelConnectionPoint> QelImageInputCP::createAlias(std::string const & name) const {
    return MoxSmartPtr<QelConnectionPoint>(new QelImageAliasCP(name));
}

std::type_info const & QelImageInputCP::getDataType() const {
    return typeid(QelImageStreamData);
}

void QelImageInputCP::setStreamData(QelStreamData * data) {
    QelInputConnectionPoint::setStreamData(data);
    imageStreamData_ = dynamic_cast<QelImageStreamData *>(data);
}

QelImageStreamData & QelImageInputCP::data(char const * operation) const {
    if (imageStreamData_ == nullptr) raiseNoStreamData(operation);
    return *imageStreamData_;
}

MoxSmartPtr<QelXyCoordSpace> QelImageInputCP::getCoordSpace() const {
    return data("getCoordSpace").getCoordSpace();
}

MoxSmartPtr<QelColorSpace> QelImageInputCP::getColorSpace() const {
    return data("getColorSpace").getColorSpace();
}

MoxSmartPtr<QelDataOrg> QelImageInputCP::getDataOrg() const {
    return data("getDataOrg").getDataOrg();
}

int QelImageInputCP::numBands() const {
    return data("numBands").numBands();
}

QelDataType QelImageInputCP::commonPrecision() const {
    return data("commonPrecision").commonPrecision();
}

void QelImageInputCP::getMaxAvailableResolution(std::uint32_t & width,
                                                std::uint32_t & height) const {
    data("getMaxAvailableResolution").getMaxAvailableResolution(width, height);
}

MoxSmartPtr<QelXySimpleRegion> QelImageInputCP::getMaxResRegion() const {
    return data("getMaxResRegion").getMaxResRegion();
}

MoxSmartPtr<Qel2DImage> QelImageInputCP::get2DImage(QelTileId const & id) const {
    return data("get2DImage").get2DImage(id);
}

MoxSmartPtr<Qel2DImage> QelImageInputCP::get2DImage(QelXyRegion const * region) const {
    return data("get2DImage").get2DImage(region);
}

void QelImageInputCP::generateDependencies(QelRenderedItemContainer * container) const {
    data("generateDependencies").generateDependencies(container);
}

void QelImageInputCP::generateDependencies(QelRenderedItemContainer * container,
                                           QelDataDesc * request) const {
    data("generateDependencies").generateDependencies(container, request);
}
