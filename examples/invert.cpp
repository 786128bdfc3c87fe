// Inverts a picture in memory: wraps a buffer as an image, puts an operation on top of it, and
// reads the result into another buffer. Nothing is computed until pixels are requested.

#include <cstdint>
#include <iostream>
#include <vector>

#include "QelClients.h"

int main() {
    constexpr int width = 640;
    constexpr int height = 480;
    std::vector<std::uint8_t> pixels(width * height * 3, 200);
    std::vector<std::uint8_t> result(pixels.size());

    QelRectBuffer source(width, height, 3, PIXEL_INTERLEAVED, QelDataType::UChar, pixels.data(),
                         false);
    MoxSmartPtr<Qel2DImage> const picture = new Qel2DImage(&source);
    MoxSmartPtr<Qel2DImage> const inverted = new Qel2DImage(new QelInvertOp(picture));

    // The tile in column 2, row 1 of the grid, and a region of any position and size.
    MoxSmartPtr<QelTile> const tile = inverted->getTile(2, 1);
    MoxSmartPtr<QelRectBuffer> const region = inverted->getData(QelRect(100, 50, 300, 200), true);

    // The whole image, into memory of our own.
    QelRectBuffer target(width, height, 3, PIXEL_INTERLEAVED, QelDataType::UChar, result.data(),
                         false);
    inverted->fillRWBuffer(&target, true);

    std::cout << "tile " << tile->rect() << ", region " << region->rect() << ", first value "
              << int{result[0]} << '\n';
    return result[0] == 55 && *region->getData() == 55 ? 0 : 1;
}
