#pragma once

#include <cstdint>

#include "Qel2DImage.h"
#include "QelColorSpace.h"
#include "QelDataOrg.h"
#include "QelDataType.h"
#include "QelImageRequestDesc.h"
#include "QelStreamData.h"
#include "QelVectorTileContainer.h"
#include "QelXyCoordSpace.h"
#include "QelXySimpleRegion.h"

// The description of an image output: its coordinate space with the resolutions that it can
// deliver, its colour space, the data organisation of its pixels, and one on-demand image for each
// resolution that has been asked for.
//
// Questions and pixel calls bring a stale description up to date first. A pixel call on a bad one
// writes "Bad status (getTile) in LABEL:OUTPUT" (or getData, shareBuffer, fillRWBuffer) as one line
// to the library's output and yields null or false; the error itself is in the status.
class QEL_API QelImageStreamData : public QelStreamData {
  public:
    using TileContainer = QelVectorTileContainer<QelTileId>;

    explicit QelImageStreamData(QelOutputConnectionPoint * owner);
    ~QelImageStreamData() override;

    MoxSmartPtr<QelRenderedItemContainer> getRenderedItemContainer() override;
    void print(std::ostream & out, std::string const & indent) const override;
    // A new, empty tile container; images that somebody still holds forget the old one.
    void resetContainer() override;

    // The description, by parts. Each setter drops all tiles and images.

    virtual void setDataOrg(MoxSmartPtr<QelDataOrg> org);
    // The organisation with another element type; the second argument has no meaning. Nothing
    // without an organisation.
    virtual void setPixelType(QelDataType type, int precision = 0);
    // The organisation as a QelSimpleDataOrg of the same size, element type and bands in `layout`.
    // Raises simpleDataOrgNeeded (150) for one of another class; nothing without one.
    virtual void setLayout(QelLayout layout);
    virtual void setCoordSpace(MoxSmartPtr<QelXyCoordSpace> space);
    // An organisation that is set gets `bands` bands.
    virtual void setColorSpace(int bands, MoxSmartPtr<QelColorSpace> space);

    // All of it at once, and the status with it. Shares its arguments.
    void setAttributes(bool ok, MoxSmartPtr<QelXyCoordSpace> coordSpace,
                       MoxSmartPtr<QelColorSpace> colorSpace, MoxSmartPtr<QelDataOrg> dataOrg);
    // The status, with the description dropped if `clear`.
    void setAttributes(bool ok, bool clear);

    // Null where nothing is known, as always for a bad status that cleared the description. Shared,
    // with the descriptions of other outputs too; clone before changing.
    MoxSmartPtr<QelXyCoordSpace> getCoordSpace();
    MoxSmartPtr<QelColorSpace> getColorSpace();
    MoxSmartPtr<QelDataOrg> getDefaultDataOrg();
    MoxSmartPtr<QelDataOrg> getDataOrg() { return getDefaultDataOrg(); }
    // 0 and Error without an organisation.
    int numBands();
    QelDataType commonPrecision();
    // In pixels, of the coordinate space's selected resolution; 0 without one.
    std::uint32_t selectedPixelWidth();
    std::uint32_t selectedPixelHeight();

    // The largest resolution, as QelXyCoordSpace::getMaxResolution(). Raises nullPointer (4)
    // without a coordinate space.
    void getMaxAvailableResolution(std::uint32_t & width, std::uint32_t & height);
    // The whole image at that resolution. Raises noMatchingResolution (127) "There is no max
    // resolution to get -- any resolution is available" where one of its axes has no limit.
    MoxSmartPtr<QelXySimpleRegion> getMaxResRegion();

    // The images, without an update.
    MoxSmartPtr<TileContainer> getTileContainer();

    // The image of a resolution in pixels (the tile's place in `id` takes no part), or of the
    // selected resolution of a region; made on first use. Null for a bad status. These and the
    // pixel calls raise noSelectedResolution (410) for a side below 1. Whether there is such a
    // resolution is for the transform's determineOp() to say, and what that raises passes through:
    // noMatchingResolution (127) from a source that lacks it.
    MoxSmartPtr<Qel2DImage> get2DImage(QelTileId const & id);
    MoxSmartPtr<Qel2DImage> get2DImage(QelXyRegion const * region);

    // Pixels, as the operations of that name of the request's image. Raise nullPointer (4) for a
    // null buffer, a request that is null, one without a region, and a null space. shareBuffer() is
    // false too where it would have to copy and must not.
    MoxSmartPtr<QelRectBuffer> getData(QelImageRequestDesc const * request, bool allowCopy);
    bool shareBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request,
                     bool allowCopy = true);
    bool fillRWBuffer(QelRectBuffer * buffer, QelImageRequestDesc const * request, bool allowCopy);
    MoxSmartPtr<QelTile> getTile(QelTileId const & id);
    MoxSmartPtr<QelTile> getTile(std::int32_t x, std::int32_t y, QelXyCoordSpace const * space);
    MoxSmartPtr<QelTile> createTile(QelTileId const & id);
    MoxSmartPtr<QelTile> findTile(QelTileId const & id);

  protected:
    // The tiles of the largest resolution. A line on the library's output where there is none.
    void generateAll(QelRenderedItemContainer & container) override;

  private:
    bool isReadyFor(char const * call);
    MoxSmartPtr<Qel2DImage> imageFor(QelTileId const & id, char const * call);
    QelXyCoordSpace & requireCoordSpace();

    MoxSmartPtr<TileContainer> tileContainer_;
    MoxSmartPtr<QelXyCoordSpace> coordSpace_;
    MoxSmartPtr<QelDataOrg> dataOrg_;
    MoxSmartPtr<QelColorSpace> colorSpace_;
};
