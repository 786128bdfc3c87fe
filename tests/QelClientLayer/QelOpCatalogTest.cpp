#include "QelOpCatalog.h"

#include "ClientTesting.h"

namespace {

QelOpCatalog const & standard() {
    return QelOpCatalog::standard();
}

struct Refusal {
    char const * text;
    char const * error;
};

void expectRefused(Refusal const & row) {
    SCOPED_TRACE(row.text);
    expectRaises(QelErrorCode::invalidValue, row.error, [&] { standard().parse(row.text); });
}

TEST(QelOpCatalogTest, ListsTheLibrarysOwnByName) {
    std::vector<std::string> names;
    for (QelOpDescription const & op : standard().ops())
        names.push_back(op.name);
    EXPECT_EQ((std::vector<std::string>{"blur", "invert", "linear", "sharpen"}), names);
}

TEST(QelOpCatalogTest, DescribesParameters) {
    QelOpDescription const * const linear = standard().find("linear");
    ASSERT_NE(nullptr, linear);
    ASSERT_EQ(2U, linear->parameters.size());
    EXPECT_EQ("gain", linear->parameters[0].name);
    EXPECT_EQ(1, linear->parameters[0].defaultValue);
    EXPECT_EQ(-1e6, linear->parameters[0].min);
    EXPECT_EQ(1e6, linear->parameters[0].max);
    EXPECT_STREQ("number", linear->parameters[0].typeName());
    EXPECT_EQ("offset", linear->parameters[1].name);
    EXPECT_EQ(0, linear->parameters[1].defaultValue);
    EXPECT_EQ(nullptr, standard().find("Linear"));
}

TEST(QelOpCatalogTest, BlurAndSharpenHaveARadiusAndAKernelThatMayBeLeftOut) {
    for (char const * const name : {"blur", "sharpen"}) {
        SCOPED_TRACE(name);
        std::vector<QelOpParameter> const & parameters = standard().find(name)->parameters;
        ASSERT_EQ(2U, parameters.size());
        EXPECT_EQ("radius", parameters[0].name);
        EXPECT_EQ(std::nullopt, parameters[0].defaultValue);
        EXPECT_EQ(1, parameters[0].min);
        EXPECT_EQ(64, parameters[0].max);
        EXPECT_STREQ("integer", parameters[0].typeName());
        EXPECT_EQ("kernel", parameters[1].name);
        EXPECT_EQ(std::nullopt, parameters[1].defaultValue);
        EXPECT_EQ(-1e6, parameters[1].min);
        EXPECT_EQ(1e6, parameters[1].max);
        EXPECT_STREQ("list of numbers", parameters[1].typeName());
    }
}

TEST(QelOpCatalogTest, NamesTypes) {
    QelOpParameter parameter;
    EXPECT_STREQ("number", parameter.typeName());
    parameter.list = true;
    EXPECT_STREQ("list of numbers", parameter.typeName());
    parameter.whole = true;
    EXPECT_STREQ("list of integers", parameter.typeName());
    parameter.list = false;
    EXPECT_STREQ("integer", parameter.typeName());
}

TEST(QelOpCatalogTest, ReadsParametersInAnyOrder) {
    struct Row {
        char const * text;
        QelOpValues values;
    };
    for (Row const & row : std::vector<Row>{
             {"invert", {}},
             {"linear", {{1}, {0}}},
             {"linear:gain=2", {{2}, {0}}},
             {"linear:offset=-7.25", {{1}, {-7.25}}},
             {"linear:offset=1e3,gain=-0.5", {{-0.5}, {1000}}},
             {"linear:gain=1000000", {{1e6}, {0}}},
             {"blur", {{}, {}}},
             {"blur:radius=64", {{64}, {}}},
             {"blur:kernel=3", {{}, {3}}},
             {"sharpen:kernel=0:-1:0:-1:8:-1:0:-1:0", {{}, {0, -1, 0, -1, 8, -1, 0, -1, 0}}},
             {"sharpen:kernel=1e-3:0:0:0:.5:0:0:0:1000000",
              {{}, {1e-3, 0, 0, 0, .5, 0, 0, 0, 1e6}}}}) {
        QelOpCatalog::Call const call = standard().parse(row.text);
        EXPECT_EQ(row.values, call.values) << row.text;
    }
}

TEST(QelOpCatalogTest, MakesTheOperation) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new QelTestCardOp(20, 10));
    MoxSmartPtr<QelImageOp> const op = standard().parse("linear:gain=2,offset=3").make(input);
    auto const * const linear = dynamic_cast<QelLinearOp const *>(op.get());
    ASSERT_NE(nullptr, linear);
    EXPECT_EQ(2, linear->gain());
    EXPECT_EQ(3, linear->offset());
    EXPECT_EQ(input.get(), linear->input().get());
    auto const makes = [&](char const * text) { return standard().parse(text).make(input); };
    EXPECT_NE(nullptr, dynamic_cast<QelInvertOp *>(makes("invert").get()));
    EXPECT_NE(nullptr, dynamic_cast<QelBlurOp *>(makes("blur").get()));
    EXPECT_NE(nullptr, dynamic_cast<QelSharpenOp *>(makes("sharpen").get()));
}

TEST(QelOpCatalogTest, MakesConvolutionsWithTheirKernels) {
    MoxSmartPtr<Qel2DImage> const input = new Qel2DImage(new QelTestCardOp(20, 10));
    auto const kernelOf = [&](char const * text) {
        MoxSmartPtr<QelImageOp> const op = standard().parse(text).make(input);
        return dynamic_cast<QelConvolveOp const &>(*op).kernel();
    };
    QelConvolutionKernel const slight({0, -1, 0, -1, 8, -1, 0, -1, 0});
    EXPECT_EQ(QelConvolutionKernel::blur(1), kernelOf("blur"));
    EXPECT_EQ(QelConvolutionKernel::blur(1), kernelOf("blur:radius=1"));
    EXPECT_EQ(QelConvolutionKernel::blur(64), kernelOf("blur:radius=64"));
    EXPECT_EQ(QelConvolutionKernel({2, 0, 0, 0, 0, 0, 0, 0, 0}),
              kernelOf("blur:kernel=2:0:0:0:0:0:0:0:0"));
    EXPECT_EQ(slight, kernelOf("sharpen"));
    EXPECT_EQ(slight, kernelOf("sharpen:kernel=0:-1:0:-1:8:-1:0:-1:0"));
    EXPECT_EQ(QelConvolutionKernel::unsharp(7), kernelOf("sharpen:radius=7"));
}

TEST(QelOpCatalogTest, UnknownOperationListsTheValidOnes) {
    constexpr char const * valid = "; there are blur, invert, linear and sharpen";
    for (std::string const name : {"inverse", "", "INVERT"}) {
        std::string const text = "There is no operation \"" + name + "\"" + valid;
        expectRefused({name.c_str(), text.c_str()});
    }
    expectRefused({"nothing:gain=1",
                   "There is no operation \"nothing\"; there are blur, invert, linear and "
                   "sharpen"});
}

TEST(QelOpCatalogTest, UnknownParameterListsTheValidOnes) {
    expectRefused({"linear:scale=1",
                   "The operation linear has no parameter \"scale\"; it has gain and offset"});
    expectRefused({"linear:gain=1,scale",
                   "The operation linear has no parameter \"scale\"; it has gain and offset"});
    expectRefused(
        {"linear:", "The operation linear has no parameter \"\"; it has gain and offset"});
    expectRefused(
        {"linear:gain=1,", "The operation linear has no parameter \"\"; it has gain and offset"});
    expectRefused({"invert:gain=1", "The operation invert has no parameter \"gain\"; it has none"});
}

TEST(QelOpCatalogTest, ParametersNeedOneValueEach) {
    expectRefused({"linear:gain", "The parameter linear:gain has no value"});
    expectRefused({"linear:gain=1,gain=2", "The parameter linear:gain is given twice"});
}

TEST(QelOpCatalogTest, ValuesMustBeNumbers) {
    for (char const * const value :
         {"", "x", "1x", " 1", "1 ", "1=2", "nan", "inf", "-inf", "1e999", "0x10", "+1"}) {
        std::string const text = std::string("linear:gain=") + value;
        std::string const error =
            std::string("The value of linear:gain is \"") + value + "\", it must be a number";
        expectRefused({text.c_str(), error.c_str()});
    }
    expectRefused({"linear:gain=1,5",
                   "The operation linear has no parameter \"5\"; it has gain "
                   "and offset"});
}

TEST(QelOpCatalogTest, ValuesMustBeInRange) {
    expectRefused({"linear:gain=1000000.5",
                   "The value of linear:gain is 1000000.5, it must lie "
                   "between -1000000 and 1000000"});
    expectRefused({"linear:offset=-1e7",
                   "The value of linear:offset is -10000000, it must lie "
                   "between -1000000 and 1000000"});
}

TEST(QelOpCatalogTest, RadiiMustBeIntegersInRange) {
    for (char const * const value : {"1.5", "1:2", "", "1:", ":1", "x"}) {
        std::string const text = std::string("blur:radius=") + value;
        std::string const error =
            std::string("The value of blur:radius is \"") + value + "\", it must be an integer";
        expectRefused({text.c_str(), error.c_str()});
    }
    expectRefused({"blur:radius=0", "The value of blur:radius is 0, it must lie between 1 and 64"});
    expectRefused(
        {"blur:radius=-1", "The value of blur:radius is -1, it must lie between 1 and 64"});
    expectRefused(
        {"sharpen:radius=65", "The value of sharpen:radius is 65, it must lie between 1 and 64"});
}

// The text names the number that is none.
TEST(QelOpCatalogTest, ListsHoldNumbersOnly) {
    struct Row {
        char const * list;
        char const * wrong;
    };
    for (Row const & row :
         {Row{"", ""}, Row{":", ""}, Row{"1:2:", ""}, Row{":1", ""}, Row{"1::2", ""},
          Row{"1:x:3", "x"}, Row{"1:2 :3", "2 "}, Row{"1:nan", "nan"}, Row{"inf:1", "inf"},
          Row{"1=2", "1=2"}, Row{"1;2", "1;2"}}) {
        std::string const text = std::string("blur:kernel=") + row.list;
        std::string const error =
            std::string("The value of blur:kernel is \"") + row.wrong + "\", it must be a number";
        expectRefused({text.c_str(), error.c_str()});
    }
    expectRefused(
        {"blur:kernel=0:0:0:0:1000001:0:0:0:0",
         "The value of blur:kernel is 1000001, it must lie between -1000000 and 1000000"});
    expectRefused({"linear:gain=1:2", "The value of linear:gain is \"1:2\", it must be a number"});
    expectRefused({"blur:kernel=1,2,1",
                   "The operation blur has no parameter \"2\"; it has radius and kernel"});
}

TEST(QelOpCatalogTest, KernelsMustBeSquaresAroundAPixel) {
    expectRefused({"sharpen:kernel=1:2",
                   "A kernel of 2 weights is impossible; their number must be 1, 9, 25 or another "
                   "square of an odd number up to 129"});
    expectRefused({"blur:kernel=1:1:1:1",
                   "A kernel of 4 weights is impossible; their number must be 1, 9, 25 or another "
                   "square of an odd number up to 129"});
}

TEST(QelOpCatalogTest, ARadiusAndAKernelDoNotGoTogether) {
    expectRefused(
        {"blur:radius=1,kernel=1", "The operation blur takes a radius or a kernel, not both"});
    expectRefused({"sharpen:kernel=1:2,radius=3",
                   "The operation sharpen takes a radius or a kernel, not both"});
}

// A catalog of a client's own.
QelOpDescription described(std::string const & name, std::string const & parameter) {
    return {name,
            "summary",
            {{parameter, "summary", 3, 1, 9, true}},
            [](MoxSmartPtr<Qel2DImage> input, QelOpValues const & values) {
                return MoxSmartPtr<QelImageOp>(new QelLinearOp(input, values[0][0], 0));
            }};
}

TEST(QelOpCatalogTest, TakesOperationsOfAClient) {
    QelOpCatalog catalog;
    catalog.add(described("zoom", "factor"));
    catalog.add(described("add", "factor"));
    EXPECT_EQ("add", catalog.ops()[0].name);
    EXPECT_STREQ("integer", catalog.ops()[0].parameters[0].typeName());
    EXPECT_EQ(QelOpValues{{3}}, catalog.parse("zoom").values);
    EXPECT_EQ(QelOpValues{{5}}, catalog.parse("zoom:factor=5").values);
    expectRaises(QelErrorCode::invalidValue,
                 "The value of zoom:factor is \"2.5\", it must be an integer",
                 [&] { catalog.parse("zoom:factor=2.5"); });
    expectRaises(QelErrorCode::invalidValue,
                 "There is no operation \"blur\"; there are add and zoom",
                 [&] { catalog.parse("blur"); });
    expectRaises(QelErrorCode::invalidValue, "There is no operation \"x\"; there are none",
                 [] { QelOpCatalog().parse("x"); });
}

TEST(QelOpCatalogTest, ChecksValuesTogetherAsAClientWishes) {
    QelOpCatalog catalog;
    QelOpDescription op = described("zoom", "factor");
    op.parameters[0].list = true;
    op.check = [](QelOpValues const & values) {
        if (values[0].size() > 2) qelRaise(13, "too many");
    };
    catalog.add(op);
    EXPECT_EQ((QelOpValues{{4, 9}}), catalog.parse("zoom:factor=4:9").values);
    expectRaises(QelErrorCode::invalidValue, "too many",
                 [&] { catalog.parse("zoom:factor=1:2:3"); });
    expectRaises(QelErrorCode::invalidValue,
                 "The value of zoom:factor is \"2.5\", it must be an integer",
                 [&] { catalog.parse("zoom:factor=1:2.5"); });
}

TEST(QelOpCatalogTest, RefusesNamesThatCannotBeAskedFor) {
    QelOpCatalog catalog;
    catalog.add(described("zoom", "factor"));
    expectRaises(QelErrorCode::invalidValue, "There is an operation \"zoom\" already",
                 [&] { catalog.add(described("zoom", "other")); });
    for (std::string const name : {"", "a:b", "a,b", "a=b"}) {
        std::string const text =
            "\"" + name + "\" cannot be the name of an operation or a parameter";
        expectRaises(QelErrorCode::invalidValue, text,
                     [&] { catalog.add(described(name, "factor")); });
        expectRaises(QelErrorCode::invalidValue, text,
                     [&] { catalog.add(described("other", name)); });
    }
    EXPECT_EQ(1U, catalog.ops().size());
}

}  // namespace
