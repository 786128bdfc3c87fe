#pragma once

#include <memory>
#include <string>

#include "QelImageStreamData.h"
#include "QelOutputConnectionPoint.h"

// An output that hands out images. Its transform describes them in setupTransform() with
// setAttributes(); clients read them, at any resolution that the description has:
//
//     MoxSmartPtr<QelXySimpleRegion> const region = output->getMaxResRegion();
//     region->setPixelBounds(QelRect(100, 50, 300, 200));
//     QelImageRequestDesc const request(region);
//     MoxSmartPtr<QelRectBuffer> const pixels = output->getData(&request, true);
//
// All operations are those of QelImageStreamData. On an alias that nothing is connected to they
// raise nullPointer (4), as those of QelImageInputCP.
class QEL_API QelImageOutputCP : public QelOutputConnectionPoint {
  public:
    // With stream data of its own, stale. Caches as QelSystemConfig::tileCachingDefault says.
    explicit QelImageOutputCP(std::string name);
    ~QelImageOutputCP() override;

    MoxSmartPtr<QelConnectionPoint> clone() const override;
    MoxSmartPtr<QelConnectionPoint> create(std::string const & name) const override;
    MoxSmartPtr<QelConnectionPoint> createAlias(std::string const & name) const override;
    std::type_info const & getDataType() const override;

    QelImageStreamData * imageStreamData() const { return imageStreamData_; }

    // The description, for setupTransform(). `region` has no meaning.
    void setAttributes(MoxSmartPtr<QelDataOrg> dataOrg, MoxSmartPtr<QelXyCoordSpace> coordSpace,
                       MoxSmartPtr<QelColorSpace> colorSpace, QelXyRegion const * region, bool ok);
    void setAttributes(bool ok, bool clear);
    void setDataOrg(MoxSmartPtr<QelDataOrg> org);
    void setPixelType(QelDataType type, int precision = 0);
    void setLayout(QelLayout layout);
    void setCoordSpace(MoxSmartPtr<QelXyCoordSpace> space);
    void setColorSpace(int bands, MoxSmartPtr<QelColorSpace> space);

    // Shared; clone before changing. So are the next ones.
    MoxSmartPtr<QelXyCoordSpace> getCoordSpace() const;
    MoxSmartPtr<QelColorSpace> getColorSpace() const;
    MoxSmartPtr<QelDataOrg> getDataOrg() const;
    MoxSmartPtr<QelDataOrg> getDefaultDataOrg() const;
    int numBands() const;
    QelDataType commonPrecision() const;
    void getMaxAvailableResolution(std::uint32_t & width, std::uint32_t & height) const;
    MoxSmartPtr<QelXySimpleRegion> getMaxResRegion() const;

    MoxSmartPtr<QelImageStreamData::TileContainer> getTileContainer() const;
    MoxSmartPtr<Qel2DImage> get2DImage(QelTileId const & id) const;
    MoxSmartPtr<Qel2DImage> get2DImage(QelXyRegion const * region) const;
    MoxSmartPtr<QelRectBuffer> getData(QelImageRequestDesc const * request, bool allowCopy) const;
    bool shareBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                     bool allowCopy = true) const;
    bool fillRWBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                      bool allowCopy) const;
    MoxSmartPtr<QelTile> getTile(QelTileId const & id) const;
    MoxSmartPtr<QelTile> getTile(std::int32_t x, std::int32_t y,
                                 QelXyCoordSpace const * space) const;
    MoxSmartPtr<QelTile> createTile(QelTileId const & id) const;
    MoxSmartPtr<QelTile> findTile(QelTileId const & id) const;

  protected:
    // For an alias: without stream data of its own.
    struct Borrowing {};
    explicit QelImageOutputCP(Borrowing);
    void setImageStreamData(QelImageStreamData * data) { imageStreamData_ = data; }

  private:
    QelImageStreamData & data(char const * operation) const;

    std::unique_ptr<QelImageStreamData> ownStreamData_;
    QelImageStreamData * imageStreamData_ = nullptr;
};
