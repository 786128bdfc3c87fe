#pragma once

#include <cstdint>
#include <functional>
#include <sstream>
#include <string>
#include <utility>

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelRectBuffer.h"
#include "TestOps.h"
#include "TileLimits.h"

// What the tests of images share.

inline MoxSmartPtr<CountingOp> countingOp(TestImage const & image) {
    return new CountingOp(new GradientOp(image));
}

// Counts an op that writes into no buffer but a tile.
inline MoxSmartPtr<CountingOp> countingOpForTiles(TestImage const & image) {
    return new CountingOp(new RefusingOp(image, false, true));
}

inline MoxSmartPtr<Qel2DImage> imageOf(MoxSmartPtr<QelImageOp> const & op,
                                       QelContainerBase * container = nullptr) {
    return new Qel2DImage(op, container);
}

// Without an op; the tile size is taken as it stands.
inline MoxSmartPtr<Qel2DImage> imageWithoutOp(TestImage const & image,
                                              QelContainerBase * container = nullptr) {
    return new Qel2DImage(QelTileId(-1, -1, image.width, image.height), image.dataOrg(),
                          image.width, image.height, container);
}

// A GradientOp that calls a function ahead of each compute.
class HookedOp : public GradientOp {
  public:
    using Hook = std::function<void(QelRectBuffer *)>;

    explicit HookedOp(TestImage const & image, Hook hook = nullptr)
        : GradientOp(image), onCompute(std::move(hook)) {}

    Hook onCompute;

    void compute(QelRectBuffer * buffer, QelOpContext opContext) override {
        if (onCompute) onCompute(buffer);
        GradientOp::compute(buffer, opContext);
    }
};

// With memory to come.
inline MoxSmartPtr<QelRectBuffer> emptyBuffer(QelDataOrg * org, QelRect const & rect) {
    return new QelRectBuffer(org, rect);
}

constexpr double paint = 77;

inline double painted(std::int32_t, std::int32_t, int) {
    return paint;
}

// With memory whose elements are all `paint`.
inline MoxSmartPtr<QelRectBuffer> paintedBuffer(QelDataOrg * org, QelRect const & rect) {
    MoxSmartPtr<QelRectBuffer> const buffer = emptyBuffer(org, rect);
    buffer->allocate();
    fillPixels(*buffer, rect, painted);
    return buffer;
}

// The picture within `inside`, something else around it.
inline PixelFunction framedBy(QelRect const & inside, PixelFunction picture, double around) {
    return
        [inside, picture = std::move(picture), around](std::int32_t x, std::int32_t y, int band) {
            return inside.contains(x, y) ? picture(x, y, band) : around;
        };
}

inline std::string addressText(void const * address) {
    std::ostringstream text;
    text << address;
    return text.str();
}

// What an image makes of an exception from outside the library.
inline std::string foreignText(std::string const & action, Qel2DImage const & image,
                               int systemError = 0) {
    return "\nUnknown exception during " + action + "\nagainst " + image.describe() +
           "\nWindows function GetLastError() returned error code value " +
           std::to_string(systemError);
}
