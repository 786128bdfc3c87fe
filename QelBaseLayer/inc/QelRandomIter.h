#pragma once

#include "QelPixelRun.h"
#include "QelRandomIterBase.h"

// A QelRandomIterBase that reads elements of type T: a tile is computed on the first access to its
// pixels. T is the element type of all bands of the image (std::uint8_t for UChar, float for Float,
// ...); any other type raises wrongPixelFormat (119).
template <class T>
class QelRandomConstIter : public QelRandomIterBase {
  public:
    explicit QelRandomConstIter(Qel2DImage * image) : QelRandomIterBase(image) {
        qelRequireElementType(dataOrg(), QelDataType::of<T>());
    }

    // The element of the current band, or of band `band`, of pixel (x, y). Raise as address()
    // does.
    T get(std::int32_t x, std::int32_t y) { return qelElementAt<T>(address(x, y)); }
    T get(std::int32_t x, std::int32_t y, std::int32_t band) {
        return qelElementAt<T>(address(x, y, band));
    }

    // The current band of the pixels from (x, y) to the tile's right edge; see runLength().
    QelPixelRun<T const> run(std::int32_t x, std::int32_t y) {
        return {address(x, y), pixelStride(), runLength(x, y)};
    }
    // All bands of these pixels, pixel by pixel, as dense elements: the fastest way through a
    // pixel-interleaved image. Empty for other layouts; see allBandsLength().
    QelPixelRun<T const> allBandsRun(std::int32_t x, std::int32_t y) {
        return {address(x, y, 0), std::int64_t{sizeof(T)}, allBandsLength(x, y)};
    }
};

// The same for writing. Tiles are not computed: where the image has none, the iterator makes one
// whose pixels are undefined until they are written. It does not mark tiles as complete: after
// writing all pixels of one, call tile()->setComplete(true). A tile lives only as long as something
// holds it, so the image should cache its tiles.
template <class T>
class QelRandomIter : public QelRandomConstIter<T> {
  public:
    using QelRandomConstIter<T>::QelRandomConstIter;

    void set(std::int32_t x, std::int32_t y, T value) {
        qelSetElementAt(this->address(x, y), value);
    }
    void set(std::int32_t x, std::int32_t y, T value, std::int32_t band) {
        qelSetElementAt(this->address(x, y, band), value);
    }

    QelPixelRun<T> run(std::int32_t x, std::int32_t y) {
        return {this->address(x, y), this->pixelStride(), this->runLength(x, y)};
    }
    QelPixelRun<T> allBandsRun(std::int32_t x, std::int32_t y) {
        return {this->address(x, y, 0), std::int64_t{sizeof(T)}, this->allBandsLength(x, y)};
    }

  protected:
    MoxSmartPtr<QelTile> tileAt(std::int32_t x, std::int32_t y) override {
        return this->tileToWrite(x, y);
    }
};
