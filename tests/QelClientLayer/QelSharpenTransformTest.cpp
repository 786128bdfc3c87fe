#include "QelSharpenTransform.h"

#include "ConvolveTransformTesting.h"

namespace {

class QelSharpenTransformTest : public testing::Test {
  protected:
    QelSharpenTransformTest() { sharpen_->connect(0, source_.get(), 0); }

    // The pixels are those of the op that is made from an image and `arguments`.
    template <class... Arguments>
    void expectPixelsWith(Arguments const &... arguments) {
        expectPixelsOfOp(*sharpen_, random_, [&](MoxSmartPtr<Qel2DImage> const & image) {
            return MoxSmartPtr<QelImageOp>(new QelSharpenOp(image, arguments...));
        });
    }

    Random random_{20240417};
    MoxSmartPtr<QelTransform> source_ = randomSource(random_, 100, 80);
    MoxSmartPtr<QelTransform> sharpen_ = new QelSharpenTransform;
};

TEST_F(QelSharpenTransformTest, HasARadiusAndAKernel) {
    EXPECT_EQ("QelSharpenTransform", sharpen_->getClassName());
    EXPECT_EQ((std::vector<std::string>{"radius=0", "kernel=[]"}), attributesOf(*sharpen_));
    EXPECT_EQ(0, sharpen_->attributeValue<int>("radius"));
    EXPECT_EQ(QelNumberList(), sharpen_->attributeValue<QelNumberList>("kernel"));
    EXPECT_EQ("in", sharpen_->getInputCP(0)->name());
    EXPECT_EQ("out", sharpen_->getOutputCP(0)->name());
    EXPECT_EQ("sharpen", QelSharpenTransform::catalogEntry().name);
}

TEST_F(QelSharpenTransformTest, RefusesRadiiOutOfRange) {
    expectRefusesRadii(*sharpen_, "sharpen");
}

TEST_F(QelSharpenTransformTest, RefusesKernelsThatAreImpossible) {
    expectRefusesKernels(*sharpen_, "sharpen");
}

TEST_F(QelSharpenTransformTest, RefusesARadiusBesideAKernel) {
    expectRefusesBoth(*sharpen_, "sharpen");
}

TEST_F(QelSharpenTransformTest, IsSlightWithoutEither) {
    expectPixelsWith();
}

TEST_F(QelSharpenTransformTest, TakesARadius) {
    for (int const radius : {1, 2, 64}) {
        sharpen_->setAttributeValue("radius", radius);
        expectPixelsWith(radius);
    }
}

TEST_F(QelSharpenTransformTest, TakesAKernel) {
    for (QelNumberList const & kernel :
         {QelNumberList{{3}}, square(5), QelNumberList{{0, -1, 0, -1, 5, -1, 0, -1, 0}}}) {
        sharpen_->setAttributeValue("kernel", kernel);
        expectPixelsWith(QelConvolutionKernel(kernel.numbers));
    }
}

TEST_F(QelSharpenTransformTest, NeedsARimOfOnePixelWhenSlight) {
    expectNeeds(*sharpen_, slightReaches());
    expectReach(*sharpen_, 1, random_);
}

TEST_F(QelSharpenTransformTest, NeedsARimOfTheRadius) {
    for (int const radius : {1, 2, 30, 64}) {
        SCOPED_TRACE(radius);
        sharpen_->setAttributeValue("radius", radius);
        expectReach(*sharpen_, radius, random_);
    }
    expectNeeds(*sharpen_, {{{50, 40, 1, 1}, {0, 0, 100, 80}}});
}

TEST_F(QelSharpenTransformTest, NeedsARimOfTheReachOfItsKernel) {
    expectKernelsReach(*sharpen_, random_);
}

TEST_F(QelSharpenTransformTest, NeedsNoMoreThanThat) {
    for (int const radius : {0, 1, 5}) {
        sharpen_->setAttributeValue("radius", radius);
        expectNeedsNoMore(*sharpen_, random_);
    }
}

TEST_F(QelSharpenTransformTest, CountsTheRimAtEachResolution) {
    sharpen_->setAttributeValue("radius", 4);
    expectReachAtEachResolution(*sharpen_, 4, random_);
}

TEST_F(QelSharpenTransformTest, TakesNumbersOnly) {
    expectTakesNumbersOnly(*sharpen_);
}

TEST_F(QelSharpenTransformTest, NeedsItsInput) {
    expectNeedsItsInput(*sharpen_);
}

TEST_F(QelSharpenTransformTest, ChangesMarkDownstreamOnly) {
    expectMarksDownstreamOnly(*sharpen_, [&] { sharpen_->setAttributeValue("radius", 2); });
    expectMarksDownstreamOnly(*sharpen_, [&] {
        sharpen_->setAttributeValue("radius", 0);
        sharpen_->setAttributeValue("kernel", square(3));
    });
}

TEST_F(QelSharpenTransformTest, ACloneGoesItsOwnWay) {
    sharpen_->setAttributeValue("radius", 7);
    expectCloneIsApart(*sharpen_,
                       [](QelTransform & clone) { clone.setAttributeValue("radius", 8); });
    expectCloneIsApart(*sharpen_, [](QelTransform & clone) {
        clone.setAttributeValue("kernel", QelNumberList{{1}});
    });
}

}  // namespace
