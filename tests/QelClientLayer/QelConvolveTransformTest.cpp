#include "QelConvolveTransform.h"

#include "ConvolveTransformTesting.h"

namespace {

class QelConvolveTransformTest : public testing::Test {
  protected:
    QelConvolveTransformTest() { convolve_->connect(0, source_.get(), 0); }

    void setKernel(QelNumberList const & kernel) { convolve_->setAttributeValue("kernel", kernel); }

    Random random_{20240415};
    MoxSmartPtr<QelTransform> source_ = randomSource(random_, 100, 80);
    MoxSmartPtr<QelTransform> convolve_ = new QelConvolveTransform;
};

TEST_F(QelConvolveTransformTest, HasAKernel) {
    EXPECT_EQ("QelConvolveTransform", convolve_->getClassName());
    EXPECT_EQ((std::vector<std::string>{"kernel=[]"}), attributesOf(*convolve_));
    EXPECT_EQ(QelNumberList(), convolve_->attributeValue<QelNumberList>("kernel"));
    EXPECT_EQ("in", convolve_->getInputCP(0)->name());
    EXPECT_EQ("out", convolve_->getOutputCP(0)->name());
    EXPECT_EQ("convolve", QelConvolveTransform::catalogEntry().name);
}

TEST_F(QelConvolveTransformTest, TheEmptyKernelHasToBeReplaced) {
    expectBad(*convolve_, QelErrorCode::invalidValue, "The operation convolve needs a kernel");
    setKernel({{1}});
    expectGood(*convolve_);
    setKernel({});
    expectBad(*convolve_, QelErrorCode::invalidValue, "The operation convolve needs a kernel");
}

TEST_F(QelConvolveTransformTest, RefusesKernelsThatAreImpossible) {
    setKernel(square(3));
    expectRefusesKernels(*convolve_, "convolve");
}

TEST_F(QelConvolveTransformTest, ShowsWhatTheOpMakes) {
    for (QelNumberList const & kernel :
         {QelNumberList{{1}}, QelNumberList{{0, 0, 0, 0, 0, 1, 0, 0, 0}}, square(5),
          QelNumberList{{-1, 0, 1, -2, 0, 2, -1, 0, 1}}, QelNumberList{{-2.5}}}) {
        setKernel(kernel);
        expectPixelsOfOp(*convolve_, random_, [&](MoxSmartPtr<Qel2DImage> const & image) {
            return MoxSmartPtr<QelImageOp>(
                new QelConvolveOp(image, QelConvolutionKernel(kernel.numbers)));
        });
    }
}

TEST_F(QelConvolveTransformTest, NeedsARimOfTheReachOfItsKernel) {
    setKernel(square(3));
    expectNeeds(*convolve_, slightReaches());
    expectKernelsReach(*convolve_, random_);
}

// Also where the outer weights are 0: the kernel's size tells.
TEST_F(QelConvolveTransformTest, WeightsOfZeroReachAsFar) {
    setKernel(square(7, 0));
    expectReach(*convolve_, 3, random_);
}

TEST_F(QelConvolveTransformTest, NeedsNoMoreThanThat) {
    for (std::int32_t const side : {1, 3, 9}) {
        setKernel(square(side, -1.5));
        expectNeedsNoMore(*convolve_, random_);
    }
}

TEST_F(QelConvolveTransformTest, CountsTheRimAtEachResolution) {
    setKernel(square(5));
    expectReachAtEachResolution(*convolve_, 2, random_);
}

TEST_F(QelConvolveTransformTest, WithoutInputThereIsNoRegion) {
    setKernel(square(3));
    MoxSmartPtr<QelXyRegion> const region = regionOf(*convolve_, QelRect(1, 2, 3, 4));
    EXPECT_NE(nullptr, convolve_->getInputRegion(*region, 0, 0));
    convolve_->disconnect(0);
    EXPECT_EQ(nullptr, convolve_->getInputRegion(*region, 0, 0));
}

TEST_F(QelConvolveTransformTest, TakesNumbersOnly) {
    setKernel(square(3));
    expectTakesNumbersOnly(*convolve_);
}

TEST_F(QelConvolveTransformTest, NeedsItsInput) {
    setKernel(square(3));
    expectNeedsItsInput(*convolve_);
}

TEST_F(QelConvolveTransformTest, ChangesMarkDownstreamOnly) {
    setKernel(square(3));
    expectMarksDownstreamOnly(*convolve_, [&] { setKernel(square(5)); });
}

TEST_F(QelConvolveTransformTest, ACloneGoesItsOwnWay) {
    setKernel({{1, 2, 3, 4, 5, 6, 7, 8, 9.5}});
    expectCloneIsApart(*convolve_, [](QelTransform & clone) {
        clone.setAttributeValue("kernel", QelNumberList{{1}});
    });
}

}  // namespace
