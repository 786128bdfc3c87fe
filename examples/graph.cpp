// A graph of transforms: reads a rectangle, changes it in the middle, breaks it, mends it. Nothing
// is set up, and no pixel computed, before somebody asks.

#include <cstring>
#include <iostream>
#include <string>

#include "QelClients.h"

namespace {

// A transform that says when it has been set up.
template <class Base>
class Announced : public Base {
  public:
    explicit Announced(std::string const & label) { this->setLabel(label); }
    Announced(Announced const &) = default;

    MoxSmartPtr<QelTransform> clone() const override { return new Announced(*this); }
    void setupTransform() override {
        Base::setupTransform();
        std::cout << "  set up " << this->getLabel() << '\n';
    }
};

using Picture = Announced<QelTestCardTransform>;
using Linear = Announced<QelLinearTransform>;
using Invert = Announced<QelInvertTransform>;
using Blur = Announced<QelBlurTransform>;

// The pixels of a rectangle at the largest resolution. For a bad status null, after a line that
// names the output: why is in the status. Raises nullPointer (4) for an output that was never good,
// which has no resolution.
MoxSmartPtr<QelRectBuffer> read(QelOperation const & transform, QelRect const & rect) {
    QelImageOutputCP const & output = *transform.getPrimaryImageOutput();
    QelImageRequestDesc const request(output.getMaxResRegion());
    request.region()->setPixelBounds(rect);
    return output.getData(&request, true);
}

bool areEqual(QelRectBuffer const & a, QelRectBuffer const & b) {
    auto const size = static_cast<std::size_t>(a.rect().area() * a.numBands());
    return std::memcmp(a.getData(), b.getData(), size) == 0;
}

}  // namespace

int main() {
    MoxSmartPtr<Picture> const picture = new Picture("picture");
    MoxSmartPtr<Linear> const brighter = new Linear("brighter");
    MoxSmartPtr<Invert> const negative = new Invert("negative");
    MoxSmartPtr<Blur> const soft = new Blur("soft");
    brighter->connect("in", picture.get(), "out");
    negative->connect("in", brighter.get(), "out");
    soft->connect("in", negative.get(), "out");
    brighter->setAttributeValue("gain", 1.2);

    QelRect const rect(100, 50, 320, 200);
    std::cout << "Reading a rectangle sets up all of them, from the picture on:\n";
    if (!soft->isStatusOk()) return 1;
    MoxSmartPtr<QelRectBuffer> const before = read(*soft, rect);

    std::cout
        << "Changing \"brighter\" sets it up again, and what is downstream, but not the picture:\n";
    brighter->setAttributeValue("offset", -10.0);
    bool const spared = picture->setupDone() && !brighter->setupDone() && !soft->setupDone();
    soft->isStatusOk();
    bool const changed = !areEqual(*before, *read(*soft, rect));

    std::cout << "Breaking a connection makes the end bad, and it says why:\n";
    brighter->disconnect(0);
    bool const broken = !soft->isStatusOk();
    std::cout << soft->getStatusMessage().getMsg() << '\n';

    std::cout << "Mended, it delivers the first pixels again:\n";
    brighter->connect("in", picture.get(), "out");
    brighter->setAttributeValue("offset", 0.0);
    bool const mended = soft->isStatusOk() && areEqual(*before, *read(*soft, rect));
    std::cout << (mended ? "  the same\n" : "  others\n");
    return spared && changed && broken && mended ? 0 : 1;
}
