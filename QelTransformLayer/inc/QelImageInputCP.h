#pragma once

#include <string>

#include "QelImageStreamData.h"
#include "QelInputConnectionPoint.h"

class QelImageOutputCP;

// An input that takes images.
//
// The questions are those of QelImageStreamData, and raise nullPointer (4) while nothing is
// connected: "Connection point ", name, " of type ", class and kind, " cannot complete function ",
// the operation's name, "( ), because the cp's stream data object pointer is NULL".
class QEL_API QelImageInputCP : public QelInputConnectionPoint {
  public:
    // Caches as QelSystemConfig::tileCachingDefault says.
    explicit QelImageInputCP(std::string name);
    ~QelImageInputCP() override;

    MoxSmartPtr<QelConnectionPoint> clone() const override;
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override;
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const & name) const override;
    std::type_info const & getDataType() const override;
    void setStreamData(QelStreamData * data) override;

    // Null while nothing is connected.
    QelImageStreamData * imageStreamData() const { return imageStreamData_; }

    // Shared; clone before changing. So are the next ones.
    MoxSmartPtr<QelXyCoordSpace> getCoordSpace() const;
    MoxSmartPtr<QelColorSpace> getColorSpace() const;
    MoxSmartPtr<QelDataOrg> getDataOrg() const;
    int numBands() const;
    QelDataType commonPrecision() const;
    void getMaxAvailableResolution(std::uint32_t & width, std::uint32_t & height) const;
    MoxSmartPtr<QelXySimpleRegion> getMaxResRegion() const;
    // What an op of this input's transform reads from: see QelTransform::determineOp().
    MoxSmartPtr<Qel2DImage> get2DImage(QelTileId const & id) const;
    MoxSmartPtr<Qel2DImage> get2DImage(QelXyRegion const * region) const;

    // Enters what is needed of the input into a render; see QelStreamData.
    void generateDependencies(QelRenderedItemContainer * container) const;
    void generateDependencies(QelRenderedItemContainer * container, QelDataDesc * request) const;

  private:
    QelImageStreamData & data(char const * operation) const;

    QelImageStreamData * imageStreamData_ = nullptr;
};
