// Counts how often each value occurs in each band of a picture. The picture is made of tiles, which
// are computed as the iterator enters them; the loop sees rows of pixels and no tiles.

#include <algorithm>
#include <array>
#include <cstdint>
#include <iostream>

#include "QelClients.h"

namespace {

using Histogram = std::array<std::int64_t, 256>;
using Histograms = std::array<Histogram, 3>;

Histograms count(Qel2DImage * picture) {
    Histograms counts{};
    QelRectConstIter<std::uint8_t> iter(picture);
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.next()) {
            for (int band = 0; band < 3; ++band)
                ++counts[band][iter.get(band)];
        }
    }
    return counts;
}

// The same over a copy of the picture in one piece.
Histograms countPlainly(Qel2DImage * picture) {
    MoxSmartPtr<QelRectBuffer> const pixels =
        new QelRectBuffer(picture->imageRect(), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    picture->fillRWBuffer(pixels, true);
    Histograms counts{};
    std::uint8_t const * const first = pixels->getData();
    for (std::int64_t i = 0; i < pixels->rect().area() * 3; ++i)
        ++counts[i % 3][first[i]];
    return counts;
}

}  // namespace

int main() {
    MoxSmartPtr<Qel2DImage> const picture = new Qel2DImage(new QelTestCardOp(600, 401));
    Histograms const counts = count(picture);

    bool right = counts == countPlainly(picture);
    for (Histogram const & counted : counts) {
        std::int64_t pixels = 0;
        for (std::int64_t const often : counted)
            pixels += often;
        right = right && pixels == picture->imageRect().area();
        auto const peak = std::max_element(counted.begin(), counted.end());
        std::cout << "most often " << peak - counted.begin() << ": " << *peak << " pixels\n";
    }
    return right ? 0 : 1;
}
