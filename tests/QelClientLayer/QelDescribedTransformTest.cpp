#include "QelDescribedTransform.h"

#include <limits>

#include "ClientTransformTesting.h"

namespace {

class QelDescribedTransformTest : public testing::Test {
  protected:
    QelDescribedTransformTest() { factor_->connect(0, source_.get(), 0); }

    Random random_{20240404};
    MoxSmartPtr<QelTransform> source_ = randomSource(random_, 90, 60);
    MoxSmartPtr<FactorTransform> factor_ = new FactorTransform;
};

TEST_F(QelDescribedTransformTest, IsWhatItsDescriptionSays) {
    EXPECT_EQ(&FactorTransform::catalogEntry(), &factor_->description());
    EXPECT_EQ("FactorTransform", factor_->getClassName());
    EXPECT_EQ((std::vector<std::string>{"factor=3", "bias=0", "weights=[]", "note=\"\""}),
              attributesOf(*factor_));
    factor_->setLabel("f");
    EXPECT_EQ("f(FactorTransform)", factor_->describe());
}

TEST_F(QelDescribedTransformTest, RangesRefuseByTheStatusAlone) {
    for (BadValue<int> const & row : std::vector<BadValue<int>>{
             {"factor", 0, "The value of factor:factor is 0, it must lie between 1 and 9", 1},
             {"factor", 10, "The value of factor:factor is 10, it must lie between 1 and 9", 9},
             {"factor", -2147483647 - 1,
              "The value of factor:factor is -2147483648, it must lie between 1 and 9", 3}}) {
        expectRefusedWhileBad(*factor_, row);
    }
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    for (BadValue<double> const & row : std::vector<BadValue<double>>{
             {"bias", -2.75, "The value of factor:bias is -2.75, it must lie between -2.5 and 40",
              -2.5},
             {"bias", 40.5, "The value of factor:bias is 40.5, it must lie between -2.5 and 40",
              40},
             {"bias", nan, "The value of factor:bias is nan, it must lie between -2.5 and 40", 0},
             {"bias", infinity, "The value of factor:bias is inf, it must lie between -2.5 and 40",
              1}}) {
        expectRefusedWhileBad(*factor_, row);
    }
}

TEST_F(QelDescribedTransformTest, RefusesWhatTheCheckRefuses) {
    for (BadValue<QelNumberList> const & row : std::vector<BadValue<QelNumberList>>{
             {"weights", {{1, 2, 3}}, "too many weights", {{1, 2}}},
             {"weights",
              {{1, -1}},
              "The value of factor:weights is -1, it must lie between 0 and 1000000",
              {}}}) {
        expectRefusedWhileBad(*factor_, row);
    }
}

TEST_F(QelDescribedTransformTest, TheAttributeTakesTheValueAllTheSame) {
    factor_->setAttributeValue("factor", 99);
    EXPECT_EQ(99, factor_->attributeValue<int>("factor"));
    expectBad(*factor_, QelErrorCode::invalidValue,
              "The value of factor:factor is 99, it must lie between 1 and 9");
    EXPECT_EQ(99, factor_->attributeValue<int>("factor"));
}

// The transform has told what is wrong itself before it asks its input.
TEST_F(QelDescribedTransformTest, ItsOwnMistakeComesAheadOfThoseUpstream) {
    factor_->disconnect(0);
    expectBad(*factor_, QelErrorCode::noCommonResolution,
              "Input in(index 0) of transform " + factor_->describe() + " is unconnected");
    factor_->setAttributeValue("factor", 0);
    expectBad(*factor_, QelErrorCode::invalidValue,
              "The value of factor:factor is 0, it must lie between 1 and 9");
}

TEST_F(QelDescribedTransformTest, WhatIsDownstreamTellsTheWholeStory) {
    MoxSmartPtr<QelTransform> const blur = new QelBlurTransform;
    blur->setLabel("soft");
    blur->connect(0, factor_.get(), 0);
    expectGood(*blur);
    factor_->setAttributeValue("factor", 0);
    expectBad(*blur, QelErrorCode::invalidValue,
              "The value of factor:factor is 0, it must lie between 1 and 9\nTransform "
              "soft(QelBlurTransform) has invalid inputs");
    factor_->setAttributeValue("factor", 1);
    expectGood(*blur);
}

TEST_F(QelDescribedTransformTest, TakesNumbersOnly) {
    expectTakesNumbersOnly(*factor_);
}

// An output that does not know its organisation yet may turn out to be fine.
class VagueTransform : public TypedTransform {
  public:
    VagueTransform() : TypedTransform(QelDataType::UChar) {}
    void setupTransform() override {
        outputOf(*this).setAttributes(nullptr, new QelXyCoordSpace(9, 9), nullptr, nullptr, true);
        setStatusOK();
    }
};

TEST_F(QelDescribedTransformTest, ATypeThatIsNotKnownIsNoMistake) {
    MoxSmartPtr<QelTransform> const vague = new VagueTransform;
    factor_->connect(0, vague.get(), 0);
    EXPECT_TRUE(factor_->isStatusOk()) << factor_->getStatusMessage().getMsg();
}

TEST_F(QelDescribedTransformTest, ShowsPixelsOfTheClientsOp) {
    factor_->setAttributeValue("factor", 2);
    factor_->setAttributeValue("bias", 4.5);
    expectPixelsOfOp(*factor_, random_, [](MoxSmartPtr<Qel2DImage> const & image) {
        return MoxSmartPtr<QelImageOp>(new QelLinearOp(image, 2, 4.5));
    });
}

TEST_F(QelDescribedTransformTest, EachAttributeMarksDownstreamOnly) {
    expectMarksDownstreamOnly(*factor_, [&] { factor_->setAttributeValue("factor", 2); });
    expectMarksDownstreamOnly(*factor_, [&] { factor_->setAttributeValue("bias", 2.0); });
    expectMarksDownstreamOnly(*factor_,
                              [&] { factor_->setAttributeValue("weights", QelNumberList{{1}}); });
    expectMarksDownstreamOnly(*factor_,
                              [&] { factor_->setAttributeValue<std::string>("note", "n"); });
}

TEST_F(QelDescribedTransformTest, ACloneHasTheDescriptionToo) {
    factor_->setAttributeValue("bias", 7.0);
    expectCloneIsApart(*factor_,
                       [](QelTransform & clone) { clone.setAttributeValue("factor", 8); });
    MoxSmartPtr<QelTransform> const clone = factor_->clone();
    EXPECT_EQ(&FactorTransform::catalogEntry(),
              &dynamic_cast<FactorTransform &>(*clone).description());
}

}  // namespace
