// Rotates a picture by 90 degrees with an operation of our own. For each pixel of the result it
// reads a pixel anywhere in its input, through a QelRandomConstIter, which hides the tiles.

#include <cmath>
#include <cstdint>
#include <iostream>
#include <numbers>

#include "QelClients.h"

class TurnOp : public QelOneInputOp {
  public:
    TurnOp(MoxSmartPtr<Qel2DImage> input, double angle)
        : QelOneInputOp(std::move(input)), cos_(std::cos(angle)), sin_(std::sin(angle)) {}

  protected:
    bool supports(QelDataType type) const override { return type == QelDataType::UChar; }

    // May be called by several threads at once, so each call has its own iterators.
    void computeRect(int, QelRectBuffer & buffer, QelRect const & rect,
                     QelOpContext) const override {
        QelRect const all = input()->imageRect();
        QelRandomConstIter<std::uint8_t> from(input());
        QelRectBufferIter<std::uint8_t> to(&buffer, rect, QelSimpleRectBufferIter::bandPixelLine);
        to.initialize();
        for (int y = rect.y; y <= rect.bottom(); ++y) {
            for (int x = rect.x; x <= rect.right(); ++x) {
                double const dx = x - (all.width - 1) / 2.0;
                double const dy = y - (all.height - 1) / 2.0;
                auto const fromX = static_cast<int>(std::lround(x - dx + cos_ * dx + sin_ * dy));
                auto const fromY = static_cast<int>(std::lround(y - dy - sin_ * dx + cos_ * dy));
                bool const inside = all.contains(fromX, fromY);
                for (int band = 0; band < buffer.numBands(); ++band, to.next())
                    to.set(inside ? from.get(fromX, fromY, band) : 0);  // black around it
            }
        }
    }

  private:
    double cos_, sin_;
};

int main() {
    MoxSmartPtr<Qel2DImage> const card = new Qel2DImage(new QelTestCardOp(300, 200));
    card->setCacheTiles(true);  // the iterator returns to tiles that it left
    MoxSmartPtr<Qel2DImage> const turned = new Qel2DImage(new TurnOp(card, std::numbers::pi / 2));
    turned->setCacheTiles(true);

    // Pixel (x, y) comes from (y + 50, 249 - x), which may lie outside the card.
    QelRandomConstIter<std::uint8_t> is(turned), was(card);
    int wrong = 0;
    for (int y = 0; y < 200; ++y)
        for (int x = 0; x < 300; ++x)
            wrong += is.get(x, y) != (x < 50 || x > 249 ? 0 : was.get(y + 50, 249 - x));
    std::cout << wrong << " pixels are wrong\n";
    return wrong == 0 ? 0 : 1;
}
