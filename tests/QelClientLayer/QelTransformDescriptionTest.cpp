#include "QelTransformDescription.h"

#include <cmath>
#include <limits>

#include "ClientTransformTesting.h"

namespace {

using Type = QelTransformParameter::Type;

QelTransformDescription const & entry() {
    return FactorTransform::catalogEntry();
}

// Attributes of a description, on a transform that had none.
MoxSmartPtr<QelTransform> withAttributes(QelTransformDescription const & description) {
    MoxSmartPtr<QelTransform> const transform = new TypedTransform(QelDataType::UChar);
    description.addAttributes(*transform);
    return transform;
}

QelTransformDescription withParameters(std::vector<QelTransformParameter> parameters) {
    return {"name", "Class", "summary", false, std::move(parameters), nullptr};
}

void expectRefused(QelTransformValues const & values, std::string const & text) {
    SCOPED_TRACE(text);
    expectRaises(QelErrorCode::invalidValue, text, [&] { entry().requireGood(values); });
    expectRaises(QelErrorCode::invalidValue, text, [&] { entry().newTransform(values); });
}

TEST(QelTransformDescriptionTest, DefaultValuesAreNoneForWhatMayBeLeftOut) {
    EXPECT_EQ((QelTransformValues{{3}, {}, {}, {}}), entry().defaultValues());
    EXPECT_EQ(QelTransformValues(), withParameters({}).defaultValues());
    EXPECT_EQ((QelTransformValues{{-0.5}, {0}, {2}}),
              withParameters({{"a", "", Type::Number, -0.5, -1, 1},
                              {"b", "", Type::Integer, 0, -1, 1},
                              {"c", "", Type::Numbers, 2, -1, 3}})
                  .defaultValues());
    // Whatever a text says.
    EXPECT_EQ(QelTransformValues{{}}, withParameters({{"a", "", Type::Text, 5}}).defaultValues());
}

TEST(QelTransformDescriptionTest, AttributesHaveTheTypesAndDefaults) {
    MoxSmartPtr<QelTransform> const transform =
        withAttributes(withParameters({{"one", "", Type::Number, 1.5, 0, 9},
                                       {"two", "", Type::Integer, 2, 0, 9},
                                       {"three", "", Type::Numbers, 3, 0, 9},
                                       {"four", "", Type::Number, std::nullopt, 1, 9},
                                       {"five", "", Type::Integer, std::nullopt, 1, 9},
                                       {"six", "", Type::Numbers, std::nullopt, 1, 9},
                                       {"seven", "", Type::Text, std::nullopt}}));
    EXPECT_EQ((std::vector<std::string>{"one=1.5", "two=2", "three=[3]", "four=0", "five=0",
                                        "six=[]", "seven=\"\""}),
              attributesOf(*transform));
    EXPECT_EQ(1.5, transform->attributeValue<double>("one"));
    EXPECT_EQ(2, transform->attributeValue<int>("two"));
    EXPECT_EQ(std::vector<double>{3}, transform->attributeValue<QelNumberList>("three").numbers);
    EXPECT_EQ(0, transform->attributeValue<double>("four"));
    EXPECT_EQ(0, transform->attributeValue<int>("five"));
    EXPECT_TRUE(transform->attributeValue<QelNumberList>("six").numbers.empty());
    EXPECT_EQ("", transform->attributeValue<std::string>("seven"));
}

TEST(QelTransformDescriptionTest, AttributesThatItAddsMarkTheTransform) {
    MoxSmartPtr<QelTransform> const transform = withAttributes(entry());
    transform->update();
    EXPECT_TRUE(transform->setupDone());
    transform->setAttributeValue("factor", 4);
    EXPECT_FALSE(transform->setupDone());
}

TEST(QelTransformDescriptionTest, ValuesAreWhatTheAttributesHold) {
    MoxSmartPtr<QelTransform> const transform = new FactorTransform;
    EXPECT_EQ((QelTransformValues{{3}, {}, {}, {}}), entry().valuesOf(*transform));
    transform->setAttributeValue("factor", -7);
    transform->setAttributeValue("bias", 0.25);
    transform->setAttributeValue("weights", QelNumberList{{5, 6, 7}});
    transform->setAttributeValue<std::string>("note", "text");
    EXPECT_EQ((QelTransformValues{{-7}, {0.25}, {5, 6, 7}, {}}), entry().valuesOf(*transform));
    // 0 means that it is left out, where there is no default.
    transform->setAttributeValue("factor", 0);
    transform->setAttributeValue("bias", 0.0);
    EXPECT_EQ((QelTransformValues{{0}, {}, {5, 6, 7}, {}}), entry().valuesOf(*transform));
}

TEST(QelTransformDescriptionTest, ValuesOfAnotherClassAreMisuse) {
    MoxSmartPtr<QelTransform> const blur = new QelBlurTransform;
    expectRaises(QelErrorCode::misuse,
                 "Transform class QelBlurTransform does not have an attribute named factor",
                 [&] { entry().valuesOf(*blur); });
    MoxSmartPtr<QelTransform> const other =
        withAttributes(withParameters({{"factor", "", Type::Text, std::nullopt}}));
    std::optional<ZanError> const error = errorOf([&] { entry().valuesOf(*other); });
    ASSERT_TRUE(error);
    EXPECT_EQ(QelErrorCode::misuse, error->getErrcode());
    EXPECT_NE(std::string::npos,
              std::string(error->getMsg()).find("does not have an attribute named factor of type "))
        << error->getMsg();
}

TEST(QelTransformDescriptionTest, RangesIncludeTheirEnds) {
    for (QelTransformValues const & values :
         std::vector<QelTransformValues>{{{1}, {}, {}, {}},
                                         {{9}, {-2.5}, {0}, {}},
                                         {{5}, {40}, {1e6, 0}, {}},
                                         {{5}, {0}, {0.001}, {}},
                                         {{1}, {-0.0}, {-0.0}, {}}}) {
        EXPECT_NO_THROW(entry().requireGood(values));
        MoxSmartPtr<QelTransform> const made = entry().newTransform(values);
        EXPECT_EQ(values[0][0], made->attributeValue<int>("factor"));
        EXPECT_EQ(values[1].empty() ? 0 : values[1][0], made->attributeValue<double>("bias"));
        EXPECT_EQ(values[2], made->attributeValue<QelNumberList>("weights").numbers);
    }
}

TEST(QelTransformDescriptionTest, RefusesNumbersOutOfRange) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    expectRefused({{0}, {}, {}, {}},
                  "The value of factor:factor is 0, it must lie between 1 and 9");
    expectRefused({{10}, {}, {}, {}},
                  "The value of factor:factor is 10, it must lie between 1 and 9");
    expectRefused({{-2147483649.0}, {}, {}, {}},
                  "The value of factor:factor is -2147483649, it must lie between 1 and 9");
    expectRefused({{1e300}, {}, {}, {}},
                  "The value of factor:factor is 1e+300, it must lie between 1 and 9");
    expectRefused({{infinity}, {}, {}, {}},
                  "The value of factor:factor is inf, it must lie between 1 and 9");
    expectRefused({{nan}, {}, {}, {}},
                  "The value of factor:factor is nan, it must lie between 1 and 9");
    expectRefused({{3}, {-2.75}, {}, {}},
                  "The value of factor:bias is -2.75, it must lie between -2.5 and 40");
    expectRefused({{3}, {nan}, {}, {}},
                  "The value of factor:bias is nan, it must lie between -2.5 and 40");
    expectRefused({{3}, {-infinity}, {}, {}},
                  "The value of factor:bias is -inf, it must lie between -2.5 and 40");
    expectRefused({{3}, {}, {1, -0.5}, {}},
                  "The value of factor:weights is -0.5, it must lie between 0 and 1000000");
    expectRefused({{3}, {}, {nan, -0.5}, {}},
                  "The value of factor:weights is nan, it must lie between 0 and 1000000");
}

// An integer attribute cannot hold it.
TEST(QelTransformDescriptionTest, RefusesFractionsOfIntegers) {
    expectRefused({{2.5}, {}, {}, {}}, "The value of factor:factor is 2.5, it must be an integer");
}

TEST(QelTransformDescriptionTest, RefusesListsWhereOneNumberIsMeant) {
    expectRefused({{2, 3}, {}, {}, {}},
                  "The value of factor:factor is a list of numbers, it must be an integer");
    expectRefused({{2}, {1, 1}, {}, {}},
                  "The value of factor:bias is a list of numbers, it must be a number");
    expectRefused({{2}, {1}, {}, {0}},
                  "The value of factor:note is a list of numbers, it must be a text");
}

// Whatever range a class gives.
TEST(QelTransformDescriptionTest, IntegersStayWithinTheirType) {
    QelTransformDescription const wide =
        withParameters({{"count", "", Type::Integer, 0, -1e12, 1e12}});
    for (double const count : {2147483647.0, -2147483648.0})
        EXPECT_NO_THROW(wide.requireGood({{count}}));
    for (auto const & [count, shown] :
         {std::pair(2147483648.0, "2147483648"), std::pair(-1e11, "-100000000000")}) {
        expectRaises(QelErrorCode::invalidValue,
                     std::string("The value of name:count is ") + shown +
                         ", it must lie between -2147483648 and 2147483647",
                     [&, bad = count] { wide.requireGood({{bad}}); });
    }
}

TEST(QelTransformDescriptionTest, ANumberThatIsLeftOutHasItsDefault) {
    EXPECT_EQ((std::vector<std::string>{"factor=3", "bias=0", "weights=[]", "note=\"\""}),
              attributesOf(*entry().newTransform({{}, {}, {}, {}})));
    MoxSmartPtr<QelTransform> const linear =
        QelLinearTransform::catalogEntry().newTransform({{}, {}});
    EXPECT_EQ((std::vector<std::string>{"gain=1", "offset=0"}), attributesOf(*linear));
}

// The first wrong one is told; what they are together comes last.
TEST(QelTransformDescriptionTest, ChecksEachNumberAheadOfAllTogether) {
    expectRefused({{3}, {}, {1, 2, 3}, {}}, "too many weights");
    expectRefused({{3}, {}, {1, 2, -3}, {}},
                  "The value of factor:weights is -3, it must lie between 0 and 1000000");
    expectRefused({{0}, {99}, {1, 2, 3}, {}},
                  "The value of factor:factor is 0, it must lie between 1 and 9");
}

TEST(QelTransformDescriptionTest, ANewTransformNeedsAValueForEachParameter) {
    for (QelTransformValues const & values :
         std::vector<QelTransformValues>{{}, {{3}, {}, {}}, {{3}, {}, {}, {}, {}}}) {
        std::string const text =
            std::to_string(values.size()) + " values for the 4 parameters of factor";
        expectRaises(QelErrorCode::outOfRange, text, [&] { entry().newTransform(values); });
        expectRaises(QelErrorCode::outOfRange, text, [&] { entry().requireGood(values); });
    }
}

TEST(QelTransformDescriptionTest, ANewTransformIsOfItsClass) {
    MoxSmartPtr<QelTransform> const made = entry().newTransform({{4}, {2}, {}, {}});
    EXPECT_NE(nullptr, dynamic_cast<FactorTransform *>(made.get()));
    EXPECT_FALSE(made->setupDone());
    EXPECT_EQ(nullptr, made->getInputCP(0)->getConnectedOutput(false));
    EXPECT_EQ((QelTransformValues{{4}, {2}, {}, {}}), entry().valuesOf(*made));
}

TEST(QelTransformDescriptionTest, ValuesRoundTrip) {
    Random random(20240403);
    for (int round = 0; round < 200; ++round) {
        QelTransformValues values{{static_cast<double>(random.between(1, 9))}, {}, {}, {}};
        if (random.coin()) values[1] = {random.between(1, 160) / 4.0};
        for (int i = random.between(0, 2); i > 0; --i)
            values[2].push_back(random.between(0, 1000000) / 7.0);
        EXPECT_EQ(values, entry().valuesOf(*entry().newTransform(values)));
    }
}

}  // namespace
