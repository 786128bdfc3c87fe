// A transform that moves pixels: the picture seen in a mirror. It says which part of its input a
// part of its output needs, so that a render prepares no more than that.

#include <cstdint>
#include <iostream>
#include <utility>

#include "QelClients.h"

namespace {

// `rect` seen in the mirror: what was `n` pixels from the left is `n` pixels from the right.
QelRect mirrored(QelRect const & rect, std::int32_t width) {
    return {width - rect.x - rect.width, rect.y, rect.width, rect.height};
}

class MirrorOp : public QelOneInputOp {
  public:
    explicit MirrorOp(MoxSmartPtr<Qel2DImage> input) : QelOneInputOp(std::move(input)) {}

  protected:
    bool supports(QelDataType type) const override { return type == QelDataType::UChar; }

    void computeRect(int, QelRectBuffer & buffer, QelRect const & rect,
                     QelOpContext) const override {
        std::int32_t const width = input()->imageRect().width;
        QelRandomConstIter<std::uint8_t> from(input());
        QelRectBufferIter<std::uint8_t> to(&buffer, rect, QelSimpleRectBufferIter::bandPixelLine);
        to.initialize();
        for (int y = rect.y; y <= rect.bottom(); ++y)
            for (int x = rect.x; x <= rect.right(); ++x)
                for (int band = 0; band < buffer.numBands(); ++band, to.next())
                    to.set(from.get(width - 1 - x, y, band));
    }
};

class MirrorTransform : public QelOperation {
  public:
    MirrorTransform() : QelOperation("in", "out") {}
    MirrorTransform(MirrorTransform const &) = default;

    MoxSmartPtr<QelTransform> clone() const override { return new MirrorTransform(*this); }

    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int) const override {
        return new MirrorOp(getPrimaryImageInput()->get2DImage(id));
    }

    // The base would say: all of it.
    MoxSmartPtr<QelXyRegion> getInputRegion(QelXyRegion const & outputRegion, int inputIndex,
                                            int outputIndex) override {
        MoxSmartPtr<QelXyRegion> const region =
            QelOperation::getInputRegion(outputRegion, inputIndex, outputIndex);
        if (region) {
            std::int32_t const width = region->pixelBounds().width;
            region->setPixelBounds(mirrored(outputRegion.pixelBounds(), width));
        }
        return region;
    }
};

}  // namespace

int main() {
    MoxSmartPtr<QelTestCardTransform> const card = new QelTestCardTransform;
    card->setAttributeValue("width", 300);
    card->setAttributeValue("height", 200);
    MoxSmartPtr<MirrorTransform> const mirror = new MirrorTransform;
    MoxSmartPtr<MirrorTransform> const again = new MirrorTransform;
    mirror->connect("in", card.get(), "out");
    again->connect("in", mirror.get(), "out");
    // The iterators below return to tiles that they have left.
    card->setCaching(true);
    mirror->setCaching(true);
    again->setCaching(true);
    if (!again->isStatusOk()) return 1;

    MoxSmartPtr<QelXySimpleRegion> const part = mirror->getPrimaryImageOutput()->getMaxResRegion();
    part->setPixelBounds(QelRect(10, 20, 50, 60));
    QelRect const needed = mirror->getInputRegion(*part, 0, 0)->pixelBounds();

    // The images at the resolution of the region.
    QelRandomConstIter<std::uint8_t> was(card->output()->get2DImage(part.get()));
    QelRandomConstIter<std::uint8_t> once(mirror->getPrimaryImageOutput()->get2DImage(part.get()));
    QelRandomConstIter<std::uint8_t> twice(again->getPrimaryImageOutput()->get2DImage(part.get()));
    int wrong = 0;
    for (int y = 0; y < 200; ++y) {
        for (int x = 0; x < 300; ++x) {
            wrong += once.get(x, y) != was.get(299 - x, y);
            wrong += twice.get(x, y) != was.get(x, y);
        }
    }
    std::cout << "a part at 10,20 needs the input at " << needed << "; " << wrong
              << " pixels are wrong\n";
    return wrong == 0 && needed == QelRect(240, 20, 50, 60) ? 0 : 1;
}
