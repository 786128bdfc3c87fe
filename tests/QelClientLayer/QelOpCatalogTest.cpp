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
    expectRaises(13, row.error, [&] { standard().parse(row.text); });
}

TEST(QelOpCatalog, ListsTheLibrarysOwnByName) {
    std::vector<std::string> names;
    for (QelOpDescription const & op : standard().ops())
        names.push_back(op.name);
    EXPECT_EQ((std::vector<std::string>{"blur", "invert", "linear", "sharpen"}), names);
}

TEST(QelOpCatalog, DescribesParameters) {
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

TEST(QelOpCatalog, ReadsParametersInAnyOrder) {
    struct Row {
        char const * text;
        std::vector<double> values;
    };
    for (Row const & row : std::vector<Row>{{"invert", {}},
                                            {"linear", {1, 0}},
                                            {"linear:gain=2", {2, 0}},
                                            {"linear:offset=-7.25", {1, -7.25}},
                                            {"linear:offset=1e3,gain=-0.5", {-0.5, 1000}},
                                            {"linear:gain=1000000", {1e6, 0}}}) {
        QelOpCatalog::Call const call = standard().parse(row.text);
        EXPECT_EQ(row.values, call.values) << row.text;
    }
}

TEST(QelOpCatalog, MakesTheOperation) {
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

TEST(QelOpCatalog, UnknownOperationListsTheValidOnes) {
    constexpr char const * valid = "; there are blur, invert, linear and sharpen";
    for (std::string const name : {"inverse", "", "INVERT"}) {
        std::string const text = "There is no operation \"" + name + "\"" + valid;
        expectRefused({name.c_str(), text.c_str()});
    }
    expectRefused({"nothing:gain=1",
                   "There is no operation \"nothing\"; there are blur, invert, linear and "
                   "sharpen"});
}

TEST(QelOpCatalog, UnknownParameterListsTheValidOnes) {
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

TEST(QelOpCatalog, ParametersNeedOneValueEach) {
    expectRefused({"linear:gain", "The parameter linear:gain has no value"});
    expectRefused({"linear:gain=1,gain=2", "The parameter linear:gain is given twice"});
}

TEST(QelOpCatalog, ValuesMustBeNumbers) {
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

TEST(QelOpCatalog, ValuesMustBeInRange) {
    expectRefused({"linear:gain=1000000.5",
                   "The value of linear:gain is 1000000.5, it must lie "
                   "between -1000000 and 1000000"});
    expectRefused({"linear:offset=-1e7",
                   "The value of linear:offset is -10000000, it must lie "
                   "between -1000000 and 1000000"});
}

// A catalog of a client's own.
QelOpDescription described(std::string const & name, std::string const & parameter) {
    return {name,
            "summary",
            {{parameter, "summary", 3, 1, 9, true}},
            [](MoxSmartPtr<Qel2DImage> input, std::vector<double> const & values) {
                return MoxSmartPtr<QelImageOp>(new QelLinearOp(input, values[0], 0));
            }};
}

TEST(QelOpCatalog, TakesOperationsOfAClient) {
    QelOpCatalog catalog;
    catalog.add(described("zoom", "factor"));
    catalog.add(described("add", "factor"));
    EXPECT_EQ("add", catalog.ops()[0].name);
    EXPECT_STREQ("integer", catalog.ops()[0].parameters[0].typeName());
    EXPECT_EQ(std::vector<double>{3}, catalog.parse("zoom").values);
    EXPECT_EQ(std::vector<double>{5}, catalog.parse("zoom:factor=5").values);
    expectRaises(13, "The value of zoom:factor is \"2.5\", it must be an integer",
                 [&] { catalog.parse("zoom:factor=2.5"); });
    expectRaises(13, "There is no operation \"blur\"; there are add and zoom",
                 [&] { catalog.parse("blur"); });
    expectRaises(13, "There is no operation \"x\"; there are none",
                 [] { QelOpCatalog().parse("x"); });
}

TEST(QelOpCatalog, RefusesNamesThatCannotBeAskedFor) {
    QelOpCatalog catalog;
    catalog.add(described("zoom", "factor"));
    expectRaises(13, "There is an operation \"zoom\" already",
                 [&] { catalog.add(described("zoom", "other")); });
    for (std::string const name : {"", "a:b", "a,b", "a=b"}) {
        std::string const text =
            "\"" + name + "\" cannot be the name of an operation or a parameter";
        expectRaises(13, text, [&] { catalog.add(described(name, "factor")); });
        expectRaises(13, text, [&] { catalog.add(described("other", name)); });
    }
    EXPECT_EQ(1U, catalog.ops().size());
}

}  // namespace
