#include "QelTransformCatalog.h"

#include "ClientTransformTesting.h"

namespace {

QelTransformCatalog const & standard() {
    return QelTransformCatalog::standard();
}

struct Refusal {
    char const * text;
    char const * error;
};

void expectRefused(Refusal const & row) {
    SCOPED_TRACE(row.text);
    expectRaises(QelErrorCode::invalidValue, row.error, [&] { standard().parse(row.text); });
}

TEST(QelTransformCatalogTest, ListsTheLibrarysOwnByName) {
    std::vector<std::string> names;
    for (QelTransformDescription const & op : standard().ops())
        names.push_back(op.name);
    EXPECT_EQ((std::vector<std::string>{"blur", "convolve", "invert", "linear", "sharpen"}), names);
}

TEST(QelTransformCatalogTest, DescribesParameters) {
    QelTransformDescription const * const linear = standard().find("linear");
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

TEST(QelTransformCatalogTest, BlurAndSharpenHaveARadiusAndAKernelThatMayBeLeftOut) {
    for (char const * const name : {"blur", "sharpen"}) {
        SCOPED_TRACE(name);
        std::vector<QelTransformParameter> const & parameters = standard().find(name)->parameters;
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

TEST(QelTransformCatalogTest, ConvolveHasAKernelThatMayBeLeftOut) {
    std::vector<QelTransformParameter> const & parameters = standard().find("convolve")->parameters;
    ASSERT_EQ(1U, parameters.size());
    EXPECT_EQ("kernel", parameters[0].name);
    EXPECT_EQ(std::nullopt, parameters[0].defaultValue);
    EXPECT_EQ(-1e6, parameters[0].min);
    EXPECT_EQ(1e6, parameters[0].max);
    EXPECT_STREQ("list of numbers", parameters[0].typeName());
}

TEST(QelTransformCatalogTest, ListsSourcesApart) {
    std::vector<QelTransformDescription> const & sources = standard().sources();
    ASSERT_EQ(2U, sources.size());
    EXPECT_EQ("picture", sources[0].name);
    EXPECT_EQ("testcard", sources[1].name);
    for (QelTransformDescription const & source : sources) {
        EXPECT_TRUE(source.isSource);
        EXPECT_EQ(&source, standard().find(source.name));
    }
    for (QelTransformDescription const & op : standard().ops()) {
        EXPECT_FALSE(op.isSource);
        EXPECT_EQ(&op, standard().find(op.name));
    }
}

TEST(QelTransformCatalogTest, DescribesTheParametersOfSources) {
    struct Row {
        char const * name;
        char const * type;
        std::optional<double> defaultValue;
        double min;
        double max;
    };
    auto const expectParameters = [](char const * source, std::vector<Row> const & table) {
        SCOPED_TRACE(source);
        std::vector<QelTransformParameter> const & found = standard().find(source)->parameters;
        ASSERT_EQ(table.size(), found.size());
        for (std::size_t i = 0; i < table.size(); ++i) {
            EXPECT_EQ(table[i].name, found[i].name);
            EXPECT_STREQ(table[i].type, found[i].typeName()) << found[i].name;
            EXPECT_EQ(table[i].defaultValue, found[i].defaultValue) << found[i].name;
            EXPECT_EQ(table[i].min, found[i].min) << found[i].name;
            EXPECT_EQ(table[i].max, found[i].max) << found[i].name;
        }
    };
    expectParameters("testcard",
                     {{"width", "integer", 1024, 1, 1e6}, {"height", "integer", 768, 1, 1e6}});
    expectParameters("picture", {{"fileName", "text", std::nullopt, 0, 0},
                                 {"maxBytes", "number", 4294967296.0, 1, 9007199254740992.0},
                                 {"maxWidth", "integer", 1e6, 1, 2147483647},
                                 {"maxHeight", "integer", 1e6, 1, 2147483647}});
}

TEST(QelTransformCatalogTest, DefaultValuesAreThoseOfANewTransform) {
    for (auto const & list : {standard().ops(), standard().sources()}) {
        for (QelTransformDescription const & entry : list) {
            SCOPED_TRACE(entry.name);
            EXPECT_EQ(entry.defaultValues(), entry.valuesOf(*entry.make()));
            // One kernel has no default.
            if (entry.name == "convolve") continue;
            MoxSmartPtr<QelTransform> const made = entry.newTransform(entry.defaultValues());
            EXPECT_EQ(attributesOf(*entry.make()), attributesOf(*made));
        }
    }
}

// One entry tells the class, and makes it.
TEST(QelTransformCatalogTest, MakesTheClassThatItNames) {
    std::vector<std::string> classes;
    for (auto const & list : {standard().ops(), standard().sources()}) {
        for (QelTransformDescription const & entry : list) {
            MoxSmartPtr<QelTransform> const made = entry.make();
            ASSERT_TRUE(made) << entry.name;
            EXPECT_EQ(entry.className, made->getClassName());
            EXPECT_EQ(entry.className, QelCoreMisc::classNameOf(*made));
            EXPECT_EQ(entry.isSource ? 0 : 1, made->numInputs());
            EXPECT_EQ(1, made->numOutputs());
            EXPECT_FALSE(entry.summary.empty());
            ASSERT_EQ(entry.parameters.size(), static_cast<std::size_t>(made->getNumAttributes()));
            for (int i = 0; i < made->getNumAttributes(); ++i) {
                EXPECT_EQ(entry.parameters[static_cast<std::size_t>(i)].name,
                          made->getAttributeName(i));
            }
            classes.push_back(entry.className);
        }
    }
    EXPECT_EQ(
        (std::vector<std::string>{"QelBlurTransform", "QelConvolveTransform", "QelInvertTransform",
                                  "QelLinearTransform", "QelSharpenTransform",
                                  "QelPictureTransform", "QelTestCardTransform"}),
        classes);
}

TEST(QelTransformCatalogTest, NamesTypes) {
    using Type = QelTransformParameter::Type;
    QelTransformParameter parameter;
    EXPECT_STREQ("number", parameter.typeName());
    parameter.type = Type::Numbers;
    EXPECT_STREQ("list of numbers", parameter.typeName());
    parameter.type = Type::Text;
    EXPECT_STREQ("text", parameter.typeName());
    parameter.type = Type::Integer;
    EXPECT_STREQ("integer", parameter.typeName());
}

TEST(QelTransformCatalogTest, ReadsParametersInAnyOrder) {
    struct Row {
        char const * text;
        QelTransformValues values;
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
        QelTransformCatalog::Call const call = standard().parse(row.text);
        EXPECT_EQ(row.values, call.values) << row.text;
    }
}

TEST(QelTransformCatalogTest, MakesTheOperation) {
    MoxSmartPtr<QelTransform> const linear = standard().parse("linear:gain=2,offset=3").make();
    ASSERT_NE(nullptr, dynamic_cast<QelLinearTransform const *>(linear.get()));
    EXPECT_EQ(2, linear->attributeValue<double>("gain"));
    EXPECT_EQ(3, linear->attributeValue<double>("offset"));
    EXPECT_EQ(nullptr, linear->getInputCP(0)->getConnectedOutput(false));
    auto const makes = [](char const * text) { return standard().parse(text).make(); };
    EXPECT_NE(nullptr, dynamic_cast<QelInvertTransform *>(makes("invert").get()));
    EXPECT_NE(nullptr, dynamic_cast<QelBlurTransform *>(makes("blur").get()));
    EXPECT_NE(nullptr, dynamic_cast<QelSharpenTransform *>(makes("sharpen").get()));
    EXPECT_NE(nullptr, dynamic_cast<QelConvolveTransform *>(makes("convolve:kernel=1").get()));
}

TEST(QelTransformCatalogTest, EachCallMakesATransformOfItsOwn) {
    QelTransformCatalog::Call const call = standard().parse("linear:gain=2");
    EXPECT_EQ(standard().find("linear"), call.op);
    MoxSmartPtr<QelTransform> const first = call.make();
    MoxSmartPtr<QelTransform> const second = call.make();
    EXPECT_NE(first, second);
    first->setAttributeValue("gain", 5.0);
    EXPECT_EQ(2, second->attributeValue<double>("gain"));
}

TEST(QelTransformCatalogTest, MakesTransformsWithTheseAttributes) {
    struct Row {
        char const * text;
        std::vector<std::string> attributes;
    };
    for (Row const & row :
         std::vector<Row>{{"invert", {}},
                          {"linear", {"gain=1", "offset=0"}},
                          {"linear:offset=-7.25,gain=1000000", {"gain=1e+06", "offset=-7.25"}},
                          {"blur", {"radius=0", "kernel=[]"}},
                          {"blur:radius=64", {"radius=64", "kernel=[]"}},
                          {"sharpen:radius=1", {"radius=1", "kernel=[]"}},
                          {"sharpen:kernel=0:-1:0:-1:8.5:-1:0:-1:0",
                           {"radius=0", "kernel=[0:-1:0:-1:8.5:-1:0:-1:0]"}},
                          {"convolve:kernel=7", {"kernel=[7]"}}}) {
        SCOPED_TRACE(row.text);
        QelTransformCatalog::Call const call = standard().parse(row.text);
        MoxSmartPtr<QelTransform> const made = call.make();
        EXPECT_EQ(row.attributes, attributesOf(*made));
        EXPECT_EQ(call.values, call.op->valuesOf(*made));
    }
}

// The kernel of the op that comes of it.
TEST(QelTransformCatalogTest, MakesConvolutionsWithTheirKernels) {
    MoxSmartPtr<QelTransform> const source = new TypedTransform(QelDataType::UChar);
    auto const kernelOf = [&](char const * text) {
        MoxSmartPtr<QelTransform> const transform = standard().parse(text).make();
        transform->connect(0, source.get(), 0);
        MoxSmartPtr<QelImageOp> const op = transform->determineOp(QelTileId(0, 0, 90, 60), 0);
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
    EXPECT_EQ(QelConvolutionKernel({2, 0, 0, 0, 1, 0, 0, 0, 5}),
              kernelOf("convolve:kernel=2:0:0:0:1:0:0:0:5"));
}

TEST(QelTransformCatalogTest, UnknownOperationListsTheValidOnes) {
    constexpr char const * valid = "; there are blur, convolve, invert, linear and sharpen";
    for (std::string const name : {"inverse", "", "INVERT", "picture", "testcard"}) {
        std::string const text = "There is no operation \"" + name + "\"" + valid;
        expectRefused({name.c_str(), text.c_str()});
    }
    expectRefused(
        {"nothing:gain=1",
         "There is no operation \"nothing\"; there are blur, convolve, invert, linear and "
         "sharpen"});
}

TEST(QelTransformCatalogTest, UnknownParameterListsTheValidOnes) {
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

TEST(QelTransformCatalogTest, ParametersNeedOneValueEach) {
    expectRefused({"linear:gain", "The parameter linear:gain has no value"});
    expectRefused({"linear:gain=1,gain=2", "The parameter linear:gain is given twice"});
}

TEST(QelTransformCatalogTest, ValuesMustBeNumbers) {
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

TEST(QelTransformCatalogTest, ValuesMustBeInRange) {
    expectRefused({"linear:gain=1000000.5",
                   "The value of linear:gain is 1000000.5, it must lie "
                   "between -1000000 and 1000000"});
    expectRefused({"linear:offset=-1e7",
                   "The value of linear:offset is -10000000, it must lie "
                   "between -1000000 and 1000000"});
}

TEST(QelTransformCatalogTest, RadiiMustBeIntegersInRange) {
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
TEST(QelTransformCatalogTest, ListsHoldNumbersOnly) {
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

TEST(QelTransformCatalogTest, KernelsMustBeSquaresAroundAPixel) {
    expectRefused({"sharpen:kernel=1:2",
                   "A kernel of 2 weights is impossible; their number must be 1, 9, 25 or another "
                   "square of an odd number up to 129"});
    expectRefused({"blur:kernel=1:1:1:1",
                   "A kernel of 4 weights is impossible; their number must be 1, 9, 25 or another "
                   "square of an odd number up to 129"});
}

TEST(QelTransformCatalogTest, ARadiusAndAKernelDoNotGoTogether) {
    expectRefused(
        {"blur:radius=1,kernel=1", "The operation blur takes a radius or a kernel, not both"});
    expectRefused({"sharpen:kernel=1:2,radius=3",
                   "The operation sharpen takes a radius or a kernel, not both"});
}

// A catalog of a client's own.
QelTransformDescription described(std::string const & name, std::string const & parameter) {
    return {name,
            "FactorTransform",
            "summary",
            false,
            {{parameter, "summary", QelTransformParameter::Type::Integer, 3, 1, 9}},
            [] { return MoxSmartPtr<QelTransform>(new FactorTransform); }};
}

TEST(QelTransformCatalogTest, TakesOperationsOfAClient) {
    QelTransformCatalog catalog;
    catalog.add(described("zoom", "factor"));
    catalog.add(described("add", "factor"));
    EXPECT_EQ("add", catalog.ops()[0].name);
    EXPECT_STREQ("integer", catalog.ops()[0].parameters[0].typeName());
    EXPECT_EQ(QelTransformValues{{3}}, catalog.parse("zoom").values);
    EXPECT_EQ(QelTransformValues{{5}}, catalog.parse("zoom:factor=5").values);
    EXPECT_EQ(5, catalog.parse("zoom:factor=5").make()->attributeValue<int>("factor"));
    expectRaises(QelErrorCode::invalidValue,
                 "The value of zoom:factor is \"2.5\", it must be an integer",
                 [&] { catalog.parse("zoom:factor=2.5"); });
    expectRaises(QelErrorCode::invalidValue,
                 "There is no operation \"blur\"; there are add and zoom",
                 [&] { catalog.parse("blur"); });
    expectRaises(QelErrorCode::invalidValue, "There is no operation \"x\"; there are none",
                 [] { QelTransformCatalog().parse("x"); });
}

TEST(QelTransformCatalogTest, TakesSourcesOfAClient) {
    QelTransformCatalog catalog;
    for (char const * const name : {"noise", "cloud"}) {
        QelTransformDescription source = described(name, "factor");
        source.isSource = true;
        catalog.add(source);
    }
    ASSERT_EQ(2U, catalog.sources().size());
    EXPECT_EQ("cloud", catalog.sources()[0].name);
    EXPECT_EQ("noise", catalog.sources()[1].name);
    EXPECT_TRUE(catalog.ops().empty());
    EXPECT_EQ(&catalog.sources()[1], catalog.find("noise"));
    expectRaises(QelErrorCode::invalidValue, "There is no operation \"noise\"; there are none",
                 [&] { catalog.parse("noise"); });
}

// Texts have no place in the text form, whatever they look like.
TEST(QelTransformCatalogTest, TextParametersCannotBeGiven) {
    QelTransformCatalog catalog;
    catalog.add(FactorTransform::catalogEntry());
    for (char const * const text : {"factor:note=0", "factor:note=text", "factor:factor=2,note="}) {
        expectRaises(
            QelErrorCode::invalidValue,
            "The operation factor has no parameter \"note\"; it has factor, bias and weights",
            [&] { catalog.parse(text); });
    }
    EXPECT_EQ((QelTransformValues{{2}, {}, {}, {}}), catalog.parse("factor:factor=2").values);
}

TEST(QelTransformCatalogTest, CopiesAreIndependent) {
    QelTransformCatalog catalog = standard();
    catalog.add(described("zoom", "factor"));
    EXPECT_NE(nullptr, catalog.find("zoom"));
    EXPECT_EQ(nullptr, standard().find("zoom"));
    EXPECT_EQ(standard().ops().size() + 1, catalog.ops().size());
    catalog = standard();
    EXPECT_EQ(nullptr, catalog.find("zoom"));
}

TEST(QelTransformCatalogTest, ChecksValuesTogetherAsAClientWishes) {
    QelTransformCatalog catalog;
    QelTransformDescription op = described("zoom", "weights");
    op.parameters[0].type = QelTransformParameter::Type::Numbers;
    op.check = [](QelTransformValues const & values) {
        if (values[0].size() > 2) qelRaise(13, "too many");
    };
    catalog.add(op);
    EXPECT_EQ((QelTransformValues{{4, 9}}), catalog.parse("zoom:weights=4:9").values);
    EXPECT_EQ((QelTransformValues{{1, 2.5}}), catalog.parse("zoom:weights=1:2.5").values);
    expectRaises(QelErrorCode::invalidValue, "too many",
                 [&] { catalog.parse("zoom:weights=1:2:3"); });
    expectRaises(QelErrorCode::invalidValue,
                 "The value of zoom:weights is 10, it must lie between 1 and 9",
                 [&] { catalog.parse("zoom:weights=1:2:10"); });
}

TEST(QelTransformCatalogTest, RefusesNamesThatCannotBeAskedFor) {
    QelTransformCatalog catalog;
    catalog.add(described("zoom", "factor"));
    QelTransformDescription source = described("zoom", "other");
    source.isSource = true;
    for (QelTransformDescription const & taken : {described("zoom", "other"), source}) {
        expectRaises(QelErrorCode::invalidValue, "There is an operation \"zoom\" already",
                     [&] { catalog.add(taken); });
    }
    for (std::string const name : {"", "a:b", "a,b", "a=b"}) {
        std::string const text =
            "\"" + name + "\" cannot be the name of an operation or a parameter";
        expectRaises(QelErrorCode::invalidValue, text,
                     [&] { catalog.add(described(name, "factor")); });
        expectRaises(QelErrorCode::invalidValue, text,
                     [&] { catalog.add(described("other", name)); });
    }
    EXPECT_EQ(1U, catalog.ops().size());
    EXPECT_TRUE(catalog.sources().empty());
}

TEST(QelTransformCatalogTest, RefusesTwoParametersOfOneName) {
    QelTransformCatalog catalog;
    QelTransformDescription op = described("zoom", "factor");
    op.parameters.push_back({"note", "summary", QelTransformParameter::Type::Text, std::nullopt});
    QelTransformDescription twice = op;
    twice.parameters.push_back(op.parameters[0]);
    expectRaises(QelErrorCode::invalidValue,
                 "The operation zoom has two parameters of the name \"factor\"",
                 [&] { catalog.add(twice); });
    EXPECT_EQ(nullptr, catalog.find("zoom"));
    catalog.add(op);
    EXPECT_NE(nullptr, catalog.find("zoom"));
}

TEST(QelTransformCatalogTest, RefusesAnOperationThatMakesNothing) {
    QelTransformCatalog catalog;
    QelTransformDescription op = described("zoom", "factor");
    op.make = nullptr;
    expectRaises(QelErrorCode::nullPointer, "The operation zoom has no factory",
                 [&] { catalog.add(op); });
    EXPECT_EQ(nullptr, catalog.find("zoom"));
    // That a factory returns null shows when it is called.
    op.make = [] { return MoxSmartPtr<QelTransform>(); };
    catalog.add(op);
    QelTransformCatalog::Call const call = catalog.parse("zoom:factor=2");
    expectRaises(QelErrorCode::nullPointer, "The factory of the operation zoom made no transform",
                 [&] { call.make(); });
    expectRaises(QelErrorCode::nullPointer, "There is no operation to make a transform of",
                 [] { QelTransformCatalog::Call().make(); });
}

}  // namespace
