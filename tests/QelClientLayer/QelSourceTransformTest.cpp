#include "QelSourceTransform.h"

#include <stdexcept>

#include "ClientTransformTesting.h"

namespace {

// A client's own source: the gradient at a size, with the attribute "level" added.
class SlopeTransform : public QelSourceTransform {
  public:
    SlopeTransform() : QelSourceTransform(catalogEntry()) {}
    SlopeTransform(SlopeTransform const &) = default;

    static QelTransformDescription const & catalogEntry() {
        using Type = QelTransformParameter::Type;
        static QelTransformDescription const entry{
            "slope",
            "SlopeTransform",
            "a gradient",
            true,
            {{"level", "what to add", Type::Integer, 0, 0, 100}},
            [] { return MoxSmartPtr<QelTransform>(new SlopeTransform); }};
        return entry;
    }

    MoxSmartPtr<QelTransform> clone() const override {
        return MoxSmartPtr<QelTransform>(new SlopeTransform(*this));
    }

    // What openSource() does instead, unless empty.
    std::function<MoxSmartPtr<QelImageOp>()> newOp;
    int opened() const { return opened_; }

  protected:
    Source openSource() override {
        ++opened_;
        QelXyCoordSpace::Resolution resolution{{100, QEL_UNIT_INCH}, {50, QEL_UNIT_INCH}};
        resolution.horz.pixels = 200;
        resolution.vert.pixels = 150;
        int const level = attributeValue<int>("level");
        MoxSmartPtr<QelImageOp> const op =
            newOp ? newOp()
                  : MoxSmartPtr<QelImageOp>(new GradientOp(
                        {.width = 200, .height = 150}, [level](auto x, auto y, int band) {
                            return gradientAt(x, y, band) + level;
                        }));
        return {op, new QelRGBColorSpace, resolution};
    }

  private:
    int opened_ = 0;
};

class QelSourceTransformTest : public testing::Test {
  protected:
    void expectPixelsAtLevel(QelTransform & transform, int level) {
        QelRectBuffer expected(200, 150, 3, PIXEL_INTERLEAVED, QelDataType::UChar);
        expected.allocate();
        fillPixels(expected, expected.rect(),
                   [level](auto x, auto y, int band) { return gradientAt(x, y, band) + level; });
        expectPixels(transform, expected, random_);
    }

    Random random_{20240418};
    MoxSmartPtr<SlopeTransform> slope_ = new SlopeTransform;
};

TEST_F(QelSourceTransformTest, HasOneOutput) {
    EXPECT_EQ(0, slope_->numInputs());
    ASSERT_EQ(1, slope_->numOutputs());
    EXPECT_EQ("out", slope_->getOutputCP(0)->name());
    EXPECT_EQ(slope_->getOutputCP(0).get(), slope_->output());
    EXPECT_EQ("SlopeTransform", slope_->getClassName());
    EXPECT_EQ((std::vector<std::string>{"level=0"}), attributesOf(*slope_));
}

TEST_F(QelSourceTransformTest, OpensWhenItIsSetUp) {
    EXPECT_EQ(0, slope_->opened());
    expectGood(*slope_);
    expectGood(*slope_);
    EXPECT_EQ(1, slope_->opened());
    slope_->setAttributeValue("level", 1);
    EXPECT_EQ(1, slope_->opened());
    expectGood(*slope_);
    EXPECT_EQ(2, slope_->opened());
}

TEST_F(QelSourceTransformTest, DescribesItsOp) {
    expectGood(*slope_);
    QelImageOutputCP const & output = *slope_->output();
    EXPECT_EQ(QelRect(0, 0, 200, 150), output.getMaxResRegion()->pixelBounds());
    EXPECT_STREQ("QelRGBColorSpace", output.getColorSpace()->className());
    EXPECT_EQ(3, output.numBands());
    EXPECT_TRUE(output.commonPrecision() == QelDataType::UChar);
    MoxSmartPtr<QelXyCoordSpace> const space = output.getCoordSpace();
    EXPECT_EQ(1U, space->numResolutions());
    EXPECT_EQ(100, space->getResolution(0).horz.dpu);
    EXPECT_EQ(50, space->getResolution(0).vert.dpu);
    EXPECT_NEAR(2, space->width().value(), 1e-12);
    EXPECT_NEAR(3, space->height().value(), 1e-12);
}

TEST_F(QelSourceTransformTest, ShowsThePixelsOfItsOp) {
    for (int const level : {0, 100, 7}) {
        slope_->setAttributeValue("level", level);
        expectPixelsAtLevel(*slope_, level);
    }
}

TEST_F(QelSourceTransformTest, HasOneResolution) {
    slope_->setLabel("hill");
    expectGood(*slope_);
    MoxSmartPtr<QelImageOp> const op = slope_->determineOp(QelTileId(0, 0, 200, 150), 0);
    EXPECT_NE(nullptr, op);
    EXPECT_EQ(op, slope_->determineOp(QelTileId(5, 5, 200, 150), 0));
    struct Row {
        std::int32_t width;
        std::int32_t height;
        char const * shown;
    };
    for (Row const & row : {Row{100, 75, "100 x 75"}, Row{200, 151, "200 x 151"},
                            Row{201, 150, "201 x 150"}, Row{-1, -1, "-1 x -1"}}) {
        expectRaises(QelErrorCode::noMatchingResolution,
                     std::string("The picture of transform hill(SlopeTransform) has no resolution "
                                 "of ") +
                         row.shown + " pixels",
                     [&] { slope_->determineOp(QelTileId(0, 0, row.width, row.height), 0); });
    }
}

TEST_F(QelSourceTransformTest, RefusesAttributesOutOfRangeWithoutOpening) {
    expectRefusedWhileBad(*slope_, BadValue<int>{"level", 101,
                                                 "The value of slope:level is 101, it must lie "
                                                 "between 0 and 100",
                                                 100});
    EXPECT_EQ(2, slope_->opened());
}

// Its own code and text, with no word about the transform.
TEST_F(QelSourceTransformTest, WhatItRaisesIsTheStatus) {
    slope_->newOp = []() -> MoxSmartPtr<QelImageOp> {
        qelRaise(QelErrorCode::limitExceeded, "the slope is too steep");
    };
    expectBad(*slope_, QelErrorCode::limitExceeded, "the slope is too steep");
    slope_->newOp = []() -> MoxSmartPtr<QelImageOp> { throw std::runtime_error("it rains"); };
    slope_->setAttributeValue("level", 1);
    EXPECT_FALSE(slope_->isStatusOk());
    EXPECT_EQ(QelErrorCode::setupFailed, slope_->getStatusMessage().getErrcode());
    slope_->newOp = nullptr;
    slope_->setAttributeValue("level", 2);
    expectPixelsAtLevel(*slope_, 2);
}

TEST_F(QelSourceTransformTest, AReportThatIsBadIsTheStatus) {
    slope_->setLabel("hill");
    slope_->newOp = [] {
        return MoxSmartPtr<QelImageOp>(
            new BadOp(QelError(QelErrorCode::badRequest, "not today", __FILE__, __LINE__)));
    };
    expectBad(*slope_, QelErrorCode::badRequest, "not today");
    slope_->newOp = [] { return MoxSmartPtr<QelImageOp>(new BadOp); };
    slope_->setAttributeValue("level", 1);
    expectBad(*slope_, QelErrorCode::invalidInput, "The source is invalid for an unknown reason");
    slope_->newOp = [] { return MoxSmartPtr<QelImageOp>(); };
    slope_->setAttributeValue("level", 2);
    expectBad(*slope_, QelErrorCode::nullPointer,
              "The source of transform hill(SlopeTransform) has no op");
}

// Nothing of the former source is left over.
TEST_F(QelSourceTransformTest, ABadSourceHasNoOp) {
    slope_->setLabel("hill");
    expectGood(*slope_);
    slope_->setAttributeValue("level", 101);
    EXPECT_FALSE(slope_->isStatusOk());
    expectRaises(QelErrorCode::noMatchingResolution,
                 "The picture of transform hill(SlopeTransform) has no resolution of 200 x 150 "
                 "pixels",
                 [&] { slope_->determineOp(QelTileId(0, 0, 200, 150), 0); });
}

// The point may be taken off, by anybody and at any time.
TEST_F(QelSourceTransformTest, IsBadWithoutItsOutput) {
    slope_->setLabel("hill");
    expectGood(*slope_);
    slope_->removeOutputConnectionPoint(0);
    EXPECT_EQ(nullptr, slope_->output());
    for (MoxSmartPtr<QelTransform> const & each :
         {MoxSmartPtr<QelTransform>(slope_), slope_->clone()}) {
        EXPECT_FALSE(each->isStatusOk());
        expectQelError(each->getStatusMessage(), QelErrorCode::noSuchPoint,
                       "Transform hill(SlopeTransform) has no image output \"out\"");
    }
    EXPECT_EQ(1, slope_->opened());
}

TEST_F(QelSourceTransformTest, TakesAnOutputThatIsAddedAgain) {
    slope_->removeOutputConnectionPoint("out");
    EXPECT_FALSE(slope_->isStatusOk());
    MoxSmartPtr<QelOutputConnectionPoint> const other = new QelImageOutputCP("other");
    MoxSmartPtr<QelOutputConnectionPoint> const out = new QelImageOutputCP("out");
    slope_->addConnectionPoint(other);
    EXPECT_EQ(nullptr, slope_->output());
    slope_->addConnectionPoint(out);
    EXPECT_EQ(out.get(), slope_->output());
    slope_->removeOutputConnectionPoint("other");
    expectPixelsAtLevel(*slope_, 0);
}

TEST_F(QelSourceTransformTest, ChangesMarkDownstreamOnly) {
    expectMarksDownstreamOnly(*slope_, [&] { slope_->setAttributeValue("level", 3); });
}

TEST_F(QelSourceTransformTest, ACloneGoesItsOwnWay) {
    slope_->setAttributeValue("level", 9);
    expectCloneIsApart(*slope_, [](QelTransform & clone) { clone.setAttributeValue("level", 8); });
    MoxSmartPtr<QelTransform> const clone = slope_->clone();
    EXPECT_EQ(clone->getOutputCP(0).get(), dynamic_cast<SlopeTransform &>(*clone).output());
    expectPixelsAtLevel(*clone, 9);
    int const opened = slope_->opened();
    EXPECT_EQ(opened + 1, dynamic_cast<SlopeTransform &>(*clone).opened()) << "opens its own";
    clone->setAttributeValue("level", 8);
    expectPixelsAtLevel(*slope_, 9);
    expectPixelsAtLevel(*clone, 8);
}

}  // namespace
