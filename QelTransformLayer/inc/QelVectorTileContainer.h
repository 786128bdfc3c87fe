#pragma once

#include <iosfwd>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Qel2DImage.h"
#include "QelContainerBase.h"
#include "QelTileContainer.h"
#include "QelTileId.h"

class QelImageOutputCP;
class QelImageRequestDesc;
class QelTransform;

// Keeps one on-demand image for each resolution of an image output. Through it images and tiles
// reach the output's transform: for an op, or for pixels where it has none.
//
// Held by MoxSmartPtr. The owner, an output, is not counted and outlives the container's use; an
// image that somebody still holds when the container is cleared or ends has no container from then
// on. Any number of threads may look for images and tiles at once; an image is made once. Clearing,
// setCacheTiles() and the end belong to the thread that edits the graph.
template <class Id>
class QEL_API QelVectorTileContainer : public QelTileContainer<Id>, public QelContainerBase {
  public:
    // Null for a container that belongs to no output. Caches tiles as
    // QelSystemConfig::tileCachingDefault says.
    explicit QelVectorTileContainer(QelImageOutputCP * owner = nullptr);
    ~QelVectorTileContainer() override;

    // The image for the resolution of `id`, made if there is none: with the op that the transform
    // determines for it, else with the output's data organisation and no op. Raises
    // noSelectedResolution (410) for an id without one, and what the transform and Qel2DImage
    // raise.
    MoxSmartPtr<Qel2DImage> getImage(Id const & id);
    // Null if there is none.
    MoxSmartPtr<Qel2DImage> findImage(Id const & id) const;
    int numImages() const;

    // Raises nullPointer (4) "QelVectorTileContainer::add called with a null pointer", and what
    // addTile() raises.
    void add(QelRenderedItem * item) override;
    // Puts a tile in the image of its id. Raises nullPointer (4) as above, tilePresent (180) when
    // there is one already.
    void addTile(QelTile * tile) override;
    // Makes neither an image nor a tile.
    MoxSmartPtr<QelTile> findTile(Id const & id) override;
    // The tile is empty if it has to be made.
    MoxSmartPtr<QelTile> findOrCreateTile(Id const & id) override;

    // Empties the place of a tile, which belongs to no image from then on. Raises notATile (181)
    // for an item that is no tile, and for a tile of a resolution that has no image.
    void discardReference(QelRenderedItem * item) override;

    void setCacheTiles(bool cache) override;
    bool cacheTiles() const { return cacheTiles_; }
    // Drops all images.
    void clear() override;

    // Over the tiles that there are, or, for a QelImageRequestDesc, over all that its region
    // touches, which are made empty as the iterator reaches them. Raises badRequest (122) for a
    // descriptor of another class, noRegion (124) for one without a region.
    QelRenderedItemContainer::Iterator makeIterator(QelDataDesc * desc = nullptr) override;

    QelItemOwner * getOwner() const override;
    std::string description() const override;
    void print(std::ostream & out) const override;

    // QelContainerBase. Images call these, from any thread. Those that make pixels raise
    // noPixelSource (602) without a transform, and what it raises; also its bad status.
    MoxSmartPtr<QelTile> createTile(Qel2DImage * image, std::int32_t x, std::int32_t y) override;
    void determineOp(Qel2DImage * image) override;
    void computeTile(QelTile * tile) override;
    void genRect(Qel2DImage * image, QelRectBuffer * buffer) override;
    void genTile(QelTile * tile) override;
    bool canGenTile(QelTile * tile) override;
    bool canGenRect(QelRectBuffer * buffer) override;
    void workDone(int count) override;

    // The output; null if there is none, or no longer.
    QelImageOutputCP * output() const { return output_; }
    // clear(), and belongs to no output from then on.
    void leaveOutput();
    // For people: a line for each image, with its size and op.
    void printImages(std::ostream & out, std::string const & prefix) const;

  private:
    // By width, then height; a tile's place takes no part.
    struct ByResolution {
        bool operator()(Id const & a, Id const & b) const {
            return a.resolutionWidth != b.resolutionWidth ? a.resolutionWidth < b.resolutionWidth
                                                          : a.resolutionHeight < b.resolutionHeight;
        }
    };
    using Images = std::map<Id, MoxSmartPtr<Qel2DImage>, ByResolution>;
    class AllTiles;
    class TilesOfRegion;

    QelTransform * transform() const;
    // Raises noPixelSource (602).
    QelTransform & requireTransform() const;
    int outputIndex() const;
    std::vector<MoxSmartPtr<Qel2DImage>> allImages() const;
    std::string ownerText() const;
    MoxSmartPtr<Qel2DImage> makeImage(Id const & id);
    MoxSmartPtr<Qel2DImage> keepImage(Id const & id, MoxSmartPtr<Qel2DImage> image);
    void traceNewImage(Qel2DImage const & image, Id const & id) const;
    MoxSmartPtr<QelImageRequestDesc> requestFor(QelTileId const & id, QelRect const & rect) const;
    template <class Place>
    void traceFallback(char const * text, Place const & place) const;
    void computeByTransform(QelTile * tile, char const * trace);

    QelImageOutputCP * output_;
    mutable std::mutex lock_;  // guards images_; taken for no longer than a look
    Images images_;
    bool cacheTiles_;
};

extern template class QEL_API QelVectorTileContainer<QelTileId>;
