#pragma once

#include "QelPixelRun.h"
#include "QelRectIterBase.h"

// A QelRectIterBase that reads elements of type T: tiles are computed as it enters them. T is the
// element type of all bands of the image (std::uint8_t for UChar, float for Float, ...); any other
// type raises wrongPixelFormat (119). An iterator starts done, with no pixel to read or write: call
// toStart() or moveTo() first.
template <class T>
class QelRectConstIter : public QelRectIterBase {
  public:
    // Inclusive edges.
    QelRectConstIter(Qel2DImage * image, std::int32_t left, std::int32_t top, std::int32_t right,
                     std::int32_t bottom)
        : QelRectIterBase(image, left, top, right, bottom) {
        qelRequireElementType(dataOrg(), QelDataType::of<T>());
    }
    QelRectConstIter(Qel2DImage * image, QelRect const & rect) : QelRectIterBase(image, rect) {
        qelRequireElementType(dataOrg(), QelDataType::of<T>());
    }
    // The whole image.
    explicit QelRectConstIter(Qel2DImage * image) : QelRectIterBase(image) {
        qelRequireElementType(dataOrg(), QelDataType::of<T>());
    }

    // The current element, and that of another band of the same pixel. Require: !rowDone().
    T get() const { return qelElementAt<T>(address()); }
    T get(std::int32_t band) const { return qelElementAt<T>(address() + bandDistance(band)); }

    // The current band of the pixels from here to the tile's edge; see runLength().
    QelPixelRun<T const> run() const { return {address(), pixelStride(), runLength()}; }
    // All bands of these pixels, pixel by pixel, as dense elements: the fastest way through a
    // pixel-interleaved image. Empty for other layouts; see allBandsLength().
    QelPixelRun<T const> allBandsRun() const {
        return {firstBandAddress(), std::int64_t{sizeof(T)}, allBandsLength()};
    }
};

// The same for writing. Tiles are not computed: where the image has none, the iterator makes one
// whose pixels are undefined until they are written. It does not mark tiles as complete: after
// writing all pixels of one, call tile()->setComplete(true). A tile lives only as long as something
// holds it, so the image should cache its tiles.
template <class T>
class QelRectIter : public QelRectConstIter<T> {
  public:
    using QelRectConstIter<T>::QelRectConstIter;

    void set(T value) const { qelSetElementAt(this->address(), value); }
    void set(T value, std::int32_t band) const {
        qelSetElementAt(this->address() + this->bandDistance(band), value);
    }

    QelPixelRun<T> run() const { return {this->address(), this->pixelStride(), this->runLength()}; }
    QelPixelRun<T> allBandsRun() const {
        return {this->firstBandAddress(), std::int64_t{sizeof(T)}, this->allBandsLength()};
    }

  protected:
    MoxSmartPtr<QelTile> tileAt(std::int32_t x, std::int32_t y) override {
        return this->tileToWrite(x, y);
    }
};
