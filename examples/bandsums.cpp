// Adds up each band of a buffer. The iterator walks the buffer in the requested order, here all
// pixels of a band before the next band, whatever the layout of the buffer.

#include <array>
#include <cstdint>
#include <iostream>

#include "QelClients.h"

namespace {

using Sums = std::array<std::int64_t, 3>;

Sums sumBands(QelRectBuffer * buffer, QelRect const & rect) {
    QelRectBufferConstIter<std::uint8_t> iter(buffer, rect, QelSimpleRectBufferIter::pixelLineBand);
    Sums sums{};
    iter.initialize();
    for (std::int64_t & sum : sums) {
        for (std::int64_t i = iter.rect().area(); i > 0; --i, iter.next())
            sum += iter.get();
    }
    return sums;
}

// The value of a band at a pixel.
int valueAt(int x, int y, int band) {
    return (7 * x + 3 * y + 50 * band) % 256;
}

// A buffer at (10, 20), in that layout.
MoxSmartPtr<QelRectBuffer> makeBuffer(QelRect const & rect, QelLayout layout) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(rect, 3, layout, QelDataType::UChar);
    QelRectBufferIter<std::uint8_t> iter(buffer, rect, QelSimpleRectBufferIter::bandPixelLine);
    iter.initialize();
    for (int y = rect.y; y <= rect.bottom(); ++y)
        for (int x = rect.x; x <= rect.right(); ++x)
            for (int band = 0; band < 3; ++band, iter.next())
                iter.set(static_cast<std::uint8_t>(valueAt(x, y, band)));
    return buffer;
}

}  // namespace

int main() {
    QelRect const part(40, 30, 60, 50);
    Sums expected{};
    for (int y = part.y; y <= part.bottom(); ++y)
        for (int x = part.x; x <= part.right(); ++x)
            for (int band = 0; band < 3; ++band)
                expected[band] += valueAt(x, y, band);

    bool right = true;
    for (QelLayout const layout : {PIXEL_INTERLEAVED, LINE_INTERLEAVED, BAND_INTERLEAVED})
        right = right && sumBands(makeBuffer(QelRect(10, 20, 200, 100), layout), part) == expected;
    std::cout << "sums " << expected[0] << ' ' << expected[1] << ' ' << expected[2] << '\n';
    return right ? 0 : 1;
}
