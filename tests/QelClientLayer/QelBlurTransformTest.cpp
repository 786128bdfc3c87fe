#include "QelBlurTransform.h"

#include "ConvolveTransformTesting.h"

namespace {

class QelBlurTransformTest : public testing::Test {
  protected:
    QelBlurTransformTest() { blur_->connect(0, source_.get(), 0); }

    // The pixels are those of the op that is made from an image and `arguments`.
    template <class... Arguments>
    void expectPixelsWith(Arguments const &... arguments) {
        expectPixelsOfOp(*blur_, random_, [&](MoxSmartPtr<Qel2DImage> const & image) {
            return MoxSmartPtr<QelImageOp>(new QelBlurOp(image, arguments...));
        });
    }

    Random random_{20240416};
    MoxSmartPtr<QelTransform> source_ = randomSource(random_, 100, 80);
    MoxSmartPtr<QelTransform> blur_ = new QelBlurTransform;
};

TEST_F(QelBlurTransformTest, HasARadiusAndAKernel) {
    EXPECT_EQ("QelBlurTransform", blur_->getClassName());
    EXPECT_EQ((std::vector<std::string>{"radius=0", "kernel=[]"}), attributesOf(*blur_));
    EXPECT_EQ(0, blur_->attributeValue<int>("radius"));
    EXPECT_EQ(QelNumberList(), blur_->attributeValue<QelNumberList>("kernel"));
    EXPECT_EQ("in", blur_->getInputCP(0)->name());
    EXPECT_EQ("out", blur_->getOutputCP(0)->name());
    EXPECT_EQ("blur", QelBlurTransform::catalogEntry().name);
}

TEST_F(QelBlurTransformTest, RefusesRadiiOutOfRange) {
    expectRefusesRadii(*blur_, "blur");
}

TEST_F(QelBlurTransformTest, RefusesKernelsThatAreImpossible) {
    expectRefusesKernels(*blur_, "blur");
}

TEST_F(QelBlurTransformTest, RefusesARadiusBesideAKernel) {
    expectRefusesBoth(*blur_, "blur");
}

TEST_F(QelBlurTransformTest, IsSlightWithoutEither) {
    expectPixelsWith();
}

TEST_F(QelBlurTransformTest, TakesARadius) {
    for (int const radius : {1, 2, 64}) {
        blur_->setAttributeValue("radius", radius);
        expectPixelsWith(radius);
    }
}

TEST_F(QelBlurTransformTest, TakesAKernel) {
    for (QelNumberList const & kernel :
         {QelNumberList{{3}}, square(5), QelNumberList{{0, -1, 0, -1, 5, -1, 0, -1, 0}}}) {
        blur_->setAttributeValue("kernel", kernel);
        expectPixelsWith(QelConvolutionKernel(kernel.numbers));
    }
}

TEST_F(QelBlurTransformTest, NeedsARimOfOnePixelWhenSlight) {
    expectNeeds(*blur_, slightReaches());
    expectReach(*blur_, 1, random_);
}

TEST_F(QelBlurTransformTest, NeedsARimOfTheRadius) {
    for (int const radius : {1, 2, 30, 64}) {
        SCOPED_TRACE(radius);
        blur_->setAttributeValue("radius", radius);
        expectReach(*blur_, radius, random_);
    }
    expectNeeds(*blur_, {{{50, 40, 1, 1}, {0, 0, 100, 80}}});
}

TEST_F(QelBlurTransformTest, NeedsARimOfTheReachOfItsKernel) {
    expectKernelsReach(*blur_, random_);
}

TEST_F(QelBlurTransformTest, NeedsNoMoreThanThat) {
    for (int const radius : {0, 1, 5}) {
        blur_->setAttributeValue("radius", radius);
        expectNeedsNoMore(*blur_, random_);
    }
}

TEST_F(QelBlurTransformTest, CountsTheRimAtEachResolution) {
    blur_->setAttributeValue("radius", 4);
    expectReachAtEachResolution(*blur_, 4, random_);
}

TEST_F(QelBlurTransformTest, TakesNumbersOnly) {
    expectTakesNumbersOnly(*blur_);
}

TEST_F(QelBlurTransformTest, NeedsItsInput) {
    expectNeedsItsInput(*blur_);
}

TEST_F(QelBlurTransformTest, ChangesMarkDownstreamOnly) {
    expectMarksDownstreamOnly(*blur_, [&] { blur_->setAttributeValue("radius", 2); });
    expectMarksDownstreamOnly(*blur_, [&] {
        blur_->setAttributeValue("radius", 0);
        blur_->setAttributeValue("kernel", square(3));
    });
}

TEST_F(QelBlurTransformTest, ACloneGoesItsOwnWay) {
    blur_->setAttributeValue("radius", 7);
    expectCloneIsApart(*blur_, [](QelTransform & clone) { clone.setAttributeValue("radius", 8); });
    expectCloneIsApart(*blur_, [](QelTransform & clone) {
        clone.setAttributeValue("kernel", QelNumberList{{1}});
    });
}

}  // namespace
