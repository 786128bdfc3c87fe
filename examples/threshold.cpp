// A transform of our own: a point operation that makes a picture black and white, with an attribute
// that says where to cut. Then a test of it.

#include <cstdint>
#include <iostream>
#include <string>
#include <utility>

#include "QelClients.h"

namespace {

// What the pixels are made of: 255 from the level on, 0 below it.
class ThresholdOp : public QelPointOp {
  public:
    ThresholdOp(MoxSmartPtr<Qel2DImage> input, int level)
        : QelPointOp(std::move(input)), level_(level) {}

  protected:
    bool supports(QelDataType type) const override { return type == QelDataType::UChar; }

    // Called by several threads at once, for different pixels.
    void changeElements(int, QelPixelRows const & rows) const override {
        for (std::int64_t row = 0; row < rows.rows; ++row) {
            for (std::int64_t i = 0; i < rows.count; ++i) {
                std::uint8_t const from = rows.from[row * rows.fromLine + i * rows.fromStep];
                rows.to[row * rows.toLine + i * rows.toStep] = from >= level_ ? 255 : 0;
            }
        }
    }

  private:
    int level_;
};

// The node of the graph: an input "in", an output "out", and the attribute "level".
class ThresholdTransform : public QelPointOperation {
  public:
    ThresholdTransform() : QelPointOperation("in", "out") {
        addAttribute(new QelSimpleAttribute<int>("level", 128), true);
    }
    ThresholdTransform(ThresholdTransform const &) = default;

    MoxSmartPtr<QelTransform> clone() const override { return new ThresholdTransform(*this); }

    // The base describes the output as it finds the input. What it cannot know is refused here.
    void setupTransform() override {
        int const level = attributeValue<int>("level");
        if (level < 0 || level > 255) {
            setStatusBad(QelError(QelErrorCode::invalidValue,
                                  "The level is " + std::to_string(level) + ", not 0 to 255",
                                  __FILE__, __LINE__));
            return;
        }
        QelPointOperation::setupTransform();
        if (statusOk()) checkInputType(QelDataType::UChar);
    }

    MoxSmartPtr<QelImageOp> determineOp(QelTileId const & id, int) const override {
        return new ThresholdOp(getPrimaryImageInput()->get2DImage(id),
                               attributeValue<int>("level"));
    }
};

// ---- The test

MoxSmartPtr<QelRectBuffer> pixelsOf(QelOperation const & transform, QelRect const & rect) {
    QelImageOutputCP const & output = *transform.getPrimaryImageOutput();
    MoxSmartPtr<QelXySimpleRegion> const region = output.getMaxResRegion();
    region->setPixelBounds(rect);
    QelImageRequestDesc const request(region);
    return output.getData(&request, true);
}

int differences(QelRectBuffer & found, QelRectBuffer & source, int level) {
    QelRectBufferConstIter<std::uint8_t> is(&found), was(&source);
    int count = 0;
    for (is.initialize(), was.initialize(); !is.done(); is.next(), was.next())
        count += is.get() != (was.get() >= level ? 255 : 0);
    return count;
}

int failures = 0;

void expect(bool holds, char const * what) {
    std::cout << (holds ? "  ok: " : "FAIL: ") << what << '\n';
    if (!holds) ++failures;
}

}  // namespace

int main() {
    MoxSmartPtr<QelTestCardTransform> const card = new QelTestCardTransform;
    MoxSmartPtr<ThresholdTransform> const threshold = new ThresholdTransform;
    expect(!threshold->isStatusOk(), "bad without an input");

    threshold->connect("in", card.get(), "out");
    expect(threshold->isStatusOk(), "good behind a picture of bytes");

    QelRect const rect(30, 40, 300, 200);
    QelImageRequestDesc const same(card->output()->getMaxResRegion());
    same.region()->setPixelBounds(rect);
    MoxSmartPtr<QelRectBuffer> const source = card->output()->getData(&same, true);
    expect(differences(*pixelsOf(*threshold, rect), *source, 128) == 0, "cuts at 128");

    threshold->setAttributeValue("level", 200);
    expect(!threshold->setupDone(), "a new level makes it stale");
    expect(differences(*pixelsOf(*threshold, rect), *source, 200) == 0, "cuts at 200");

    threshold->setAttributeValue("level", 256);
    expect(!threshold->isStatusOk(), "refuses 256");
    std::cout << "      " << threshold->getStatusMessage().getMsg() << '\n';
    return failures == 0 ? 0 : 1;
}
