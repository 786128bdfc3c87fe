#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ElementTypes.h"
#include "ImageTesting.h"
#include "QelDIBDataOrg.h"
#include "QelRectIter.h"
#include "QelSimpleDataOrg.h"
#include "TestRandom.h"

// What the tests of the pixel iterators share: images and buffers of every kind of organisation.

// Strides and band offsets of its own: the three axes nested in any order, each forwards or
// backwards, with gaps that leave elements at odd addresses. Bands follow each other at one
// distance if they are to be `uniform`, else maybe in no order at all. With `flat` the pixels of a
// line, or the lines, may all lie in one place.
inline MoxSmartPtr<QelDataOrg> anySpelledOutOrg(TestRandom & random, std::int32_t width,
                                                std::int32_t height, QelDataType type, int bands,
                                                bool uniform, bool flat) {
    std::array<int, 3> axes{0, 1, 2};
    random.shuffle(axes);
    std::array<std::int32_t, 3> const counts{width, height, bands};
    std::array<std::int32_t, 3> steps{};
    std::int32_t extent = type.size();
    for (int const axis : axes) {
        auto const at = static_cast<std::size_t>(axis);
        std::int32_t const step = extent + (random.chance(50) ? random.between(0, 5) : 0);
        steps[at] = random.chance(35) ? -step : step;
        extent = step * counts[at];
    }
    if (flat && random.chance(60)) steps[static_cast<std::size_t>(random.between(0, 1))] = 0;
    std::vector<std::int32_t> offsets;
    std::int32_t const base = random.chance(50) ? 0 : random.between(-20, 20);
    for (int b = 0; b < bands; ++b)
        offsets.push_back(base + b * steps[2]);
    if (!uniform && random.chance(50)) random.shuffle(offsets);
    return new QelSimpleDataOrg(width, height, type, bands, offsets, steps[0], steps[1]);
}

inline MoxSmartPtr<QelDataOrg> anyBitmapOrg(TestRandom & random, std::int32_t width,
                                            std::int32_t height) {
    return new QelDIBDataOrg(width, height, random.chance(50) ? 1 : 3, random.chance(60),
                             random.chance(50));
}

// An organisation of any kind for tiles of that size, at (0,0).
inline MoxSmartPtr<QelDataOrg> anyOrg(TestRandom & random, std::int32_t width, std::int32_t height,
                                      bool uniform = false, bool flat = true) {
    if (random.chance(12)) return anyBitmapOrg(random, width, height);
    QelDataType const type = random.oneOf(numberTypes());
    int const bands = random.between(1, 5);
    QelLayout const layout = random.oneOf(
        std::array{PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED, SPELLED_OUT});
    if (layout != SPELLED_OUT) return new QelSimpleDataOrg(width, height, type, bands, layout);
    return anySpelledOutOrg(random, width, height, type, bands, uniform, flat);
}

// gradientAt(), the same along an axis whose pixels all lie in one place.
inline PixelFunction pictureFor(QelDataOrg const & org) {
    bool const flatX = org.asSimple()->pixelStride() == 0;
    bool const flatY = org.asSimple()->lineStride() == 0;
    return [flatX, flatY](std::int32_t x, std::int32_t y, int band) {
        return gradientAt(flatX ? 0 : x, flatY ? 0 : y, band);
    };
}

// Do all elements of a line follow each other, the bands of a pixel side by side?
inline bool hasDensePixels(QelDataOrg const & org) {
    std::int64_t const size = org.precision().size();
    for (int band = 0; band < org.numBands(); ++band) {
        if (org.offset(0, 0, band) != org.offset(0, 0, 0) + band * size) return false;
    }
    return org.offset(1, 0) == size * org.numBands();
}

// An image, the picture that it shows, and the part of it that has pixels.
struct IterImage {
    MoxSmartPtr<Qel2DImage> image;
    PixelFunction picture;
    QelRect pixels;

    QelDataType type() const { return image->dataOrg()->precision(); }
    int bands() const { return image->dataOrg()->numBands(); }
};

// With tiles that are computed, its grid anchored anywhere from minus a tile to plus a tile.
inline IterImage anyComputedImage(TestRandom & random) {
    TileLimits const limits(1, 1000);
    std::int32_t const tileWidth = random.chance(25) ? 1 : random.between(2, 11);
    std::int32_t const tileHeight = random.chance(15) ? 1 : random.between(2, 9);
    MoxSmartPtr<QelDataOrg> const org = anyOrg(random, tileWidth, tileHeight)
                                            ->withOrigin(random.between(-tileWidth, tileWidth),
                                                         random.between(-tileHeight, tileHeight));
    TestImage const told{.width = random.between(1, 4 * tileWidth + 3),
                         .height = random.between(1, 4 * tileHeight + 3),
                         .org = org};
    IterImage made;
    made.picture = pictureFor(*org);
    made.image = new Qel2DImage(new GradientOp(told, made.picture));
    made.image->setCacheTiles(random.chance(50));
    made.pixels = made.image->imageRect();
    return made;
}

// One that wraps a view of a larger buffer, which starts anywhere but at (0,0) as a rule.
inline IterImage anyWrappedImage(TestRandom & random) {
    QelRect const whole(random.between(-6, 9), random.between(-6, 9), random.between(8, 20),
                        random.between(8, 20));
    MoxSmartPtr<QelDataOrg> const org = anyOrg(random, whole.width, whole.height);
    IterImage made;
    made.picture = pictureFor(*org);
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, whole);
    buffer->allocate();
    fillPixels(*buffer, whole, made.picture);
    // At least the last pixel, so that the image is not empty.
    std::int32_t const cutX = random.between(0, 7);
    std::int32_t const cutY = random.between(0, 7);
    MoxSmartPtr<QelRectBuffer> const view = buffer->subBuffer(
        QelRect(whole.x + cutX, whole.y + cutY, whole.width - cutX, whole.height - cutY));
    made.image = new Qel2DImage(view);
    made.pixels = view->rect().intersect(made.image->imageRect());
    return made;
}

inline IterImage anyIterImage(TestRandom & random) {
    return random.chance(80) ? anyComputedImage(random) : anyWrappedImage(random);
}

// What writes into an image may not compute; `picture` is what it should write.
inline IterImage anyImageToWrite(TestRandom & random) {
    IterImage made = anyComputedImage(random);
    TileLimits const limits(1, 1000);
    TestImage const told{
        .width = made.pixels.width, .height = made.pixels.height, .org = made.image->dataOrg()};
    made.image = new Qel2DImage(new ThrowingOp(told, [] { FAIL() << "a tile is computed"; }));
    made.image->setCacheTiles(true);
    return made;
}

// All tiles of `image` are written now: what do they show?
inline void expectWritten(IterImage const & written) {
    for (Qel2DImage::TileIterator at(written.image, written.pixels); !at.done(); at.next()) {
        MoxSmartPtr<QelTile> const tile = at.findTile();
        ASSERT_TRUE(tile);
        tile->setComplete(true);
    }
    MoxSmartPtr<QelRectBuffer> const data = written.image->getData(written.pixels, true);
    EXPECT_TRUE(showsPixels(*data, written.pixels, written.picture));
    EXPECT_EQ(0, written.image->statistics().tilesComputed);
}

inline std::string describeIterImage(IterImage const & made) {
    std::ostringstream text;
    text << made.image->imageRect() << " with pixels in " << made.pixels << " of "
         << made.type().name() << ' ';
    made.image->dataOrg()->print(text);
    return text.str();
}
