#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <sstream>

#include "QelError.h"
#include "TransformTesting.h"

// What a transform and a graph print for people. Their words are fixed, their layout is not.

namespace {

MoxSmartPtr<SourceTransform> sourceNamed(std::string const & label) {
    MoxSmartPtr<SourceTransform> source(new SourceTransform());
    source->setLabel(label);
    return source;
}

MoxSmartPtr<QelAttribute> number(std::string const & name, int value) {
    return MoxSmartPtr<QelAttribute>(new QelSimpleAttribute<int>(name, value));
}

std::string printed(QelTransform const & transform, std::string const & prefix = "") {
    std::ostringstream out;
    transform.printTransform(out, prefix);
    return out.str();
}

std::string printedGraph(QelTransform & transform) {
    std::ostringstream out;
    transform.printGraph(out, 2);
    return out.str();
}

void expectHolds(std::string const & part, std::string const & text) {
    EXPECT_NE(std::string::npos, text.find(part)) << part << "\nis not in\n" << text;
}

std::size_t countOf(std::string const & part, std::string const & text) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

TEST(QelTransformListingTest, PrintsWhatItIsAndItsStatus) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("light");
    std::string text = printed(*source);
    expectHolds("Transform light SourceTransform", text);
    expectHolds("-ADDRESS--", text);
    expectHolds(" [status=0,upToDate=0]", text);
    EXPECT_FALSE(source->setupDone());
    ASSERT_TRUE(source->isStatusOk());
    text = printed(*source);
    expectHolds(" [status=1,upToDate=1]", text);
    EXPECT_EQ(std::string::npos, text.find(">>>"));
}

TEST(QelTransformListingTest, PrintsTheErrorOfABadStatus) {
    MoxSmartPtr<AddTransform> const add(new AddTransform());
    add->setStatusBad(QelError(QelErrorCode::invalidValue, "too bad", __FILE__, __LINE__));
    std::string const text = printed(*add);
    expectHolds(" [status=0,upToDate=1]", text);
    std::size_t const begin = text.find(">>>");
    std::size_t const end = text.find("<<<");
    ASSERT_NE(std::string::npos, begin);
    ASSERT_NE(std::string::npos, end);
    expectHolds("too bad", text.substr(begin, end - begin));
}

TEST(QelTransformListingTest, PrintsItsAttributes) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("light");
    source->setAttributeValue<double>("level", 2.5);
    source->addAttribute(number("size", 9), true, "width");
    source->getAttribute("width")->lock();
    std::string const text = printed(*source);
    expectHolds("    attributes 2", text);
    expectHolds("level = 2.5 (locked=0,time=" +
                    std::to_string(source->getAttribute("level")->timestamp()) + ")",
                text);
    expectHolds("width = 9 (locked=1,time=" +
                    std::to_string(source->getAttribute("width")->timestamp()) + ")",
                text);
    expectHolds("    calculated parameters ", text);
}

TEST(QelTransformListingTest, PrintsItsPointsAndTheirConnections) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("light");
    MoxSmartPtr<JointTransform> const joint(new JointTransform(2, 1));
    joint->setLabel("joint");
    joint->connect(0, source, 0);
    std::string const text = printed(*joint);
    expectHolds("    input  CPs: num(max)CPs=2(2):", text);
    expectHolds("    output CPs: num(max)CPs=1(1):", text);
    expectHolds("in0", text);
    expectHolds("in1", text);
    expectHolds(" locked=0", text);
    expectHolds(" owner=", text);
    expectHolds("  --> light:out", text);
    expectHolds("  --> NULL", text);
    expectHolds("  --> joint:in0", printed(*source));
}

TEST(QelTransformListingTest, PrintsTheTilesThatThereAre) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("light");
    EXPECT_EQ(std::string::npos, printed(*source).find("Tile"));
    MoxSmartPtr<QelTile> const tile = imageOutput(*source).getTile(QelTileId(1, 0, 300, 200));
    ASSERT_TRUE(tile);
    std::string const text = printed(*source);
    expectHolds("Tile<1,0,200,300>", text);
    EXPECT_EQ(1U, countOf("Tile<", text));
}

TEST(QelTransformListingTest, PrintsEachLineBehindThePrefix) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("light");
    std::istringstream lines(printed(*source, "## "));
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        EXPECT_EQ(0U, line.find("## ")) << line;
        ++count;
    }
    EXPECT_LE(5, count);
}

TEST(QelTransformListingTest, PrintsTheSameWhateverTheFormatOfTheStream) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("light");
    for (int i = 0; i < 20; ++i)
        source->addAttribute(number("size" + std::to_string(i), 100), true);
    std::ostringstream out;
    out << std::boolalpha << std::hex << std::showbase;
    out.width(40);
    source->printTransform(out, "");
    EXPECT_EQ(printed(*source), out.str());
    out.str("");
    out.width(0);
    out << true << 16;
    EXPECT_EQ("true0x10", out.str());
}

// Shows one computed parameter, or raises instead.
class ShowingTransform : public ScriptedTransform {
  public:
    using ScriptedTransform::ScriptedTransform;
    std::function<void(std::ostream &, std::string const &)> onPrint;
    void printCalculatedParameters(std::ostream & out, std::string const & prefix) const override {
        onPrint(out, prefix);
    }
};

TEST(QelTransformListingTest, PrintsWhatItsClassComputed) {
    MoxSmartPtr<ShowingTransform> const showing(new ShowingTransform("t"));
    showing->onPrint = [](std::ostream & out, std::string const & prefix) {
        out << prefix << "radius 17\n";
    };
    expectHolds("radius 17\n", printed(*showing));
}

TEST(QelTransformListingTest, PrintsAnErrorThatStopsAListing) {
    MoxSmartPtr<ShowingTransform> const showing(new ShowingTransform("t"));
    showing->onPrint = [](std::ostream &, std::string const &) {
        qelRaise(QelErrorCode::misuse, "no way");
    };
    expectHolds("Error caught in QelTransform::printTransform: QEL error 3\nno way",
                printed(*showing));
    showing->onPrint = [](std::ostream &, std::string const &) { throw 5; };
    expectHolds("Error caught in QelTransform::printTransform: NOT-ZAN", printed(*showing));
}

TEST(QelTransformListingTest, PrintsTheGraphUpstream) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("first");
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source, 2);
    chain[0]->setLabel("second");
    chain[1]->setLabel("third");
    std::string const text = printedGraph(*chain[0]);
    expectHolds(" --->    first --->    ", text);
    expectHolds(" --->    second --->    ", text);
    EXPECT_EQ(std::string::npos, text.find(" --->    third --->    "));
    EXPECT_LT(text.find(" --->    first"), text.find(" --->    second"));
    expectHolds("Transform first SourceTransform", text);
    expectHolds("Transform second AddTransform", text);
    EXPECT_EQ(std::string::npos, text.find("GRAPH IS CYCLIC"));
}

TEST(QelTransformListingTest, PrintsTheGraphDownstreamToo) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("first");
    std::vector<MoxSmartPtr<QelOperation>> const chain = chainBehind(*source, 2);
    chain[1]->setLabel("third");
    std::ostringstream without;
    source->printGraph(without, 2, false);
    EXPECT_EQ(printedGraph(*source), without.str());
    std::ostringstream with;
    source->printGraph(with, 2, true);
    expectHolds(" --->    first --->    ", with.str());
    expectHolds(" --->    third --->    ", with.str());
}

TEST(QelTransformListingTest, PrintsThatTheGraphIsCyclic) {
    MoxSmartPtr<AddTransform> const a(new AddTransform());
    MoxSmartPtr<AddTransform> const b(new AddTransform());
    a->QelTransform::connect(0, b, 0);
    b->QelTransform::connect(0, a, 0);
    std::string const text = printedGraph(*a);
    EXPECT_EQ(2U, countOf("\nTransform ", "\n" + text));
    EXPECT_EQ(text.size() - std::string("GRAPH IS CYCLIC\n").size(),
              text.find("GRAPH IS CYCLIC\n"));
    a->disconnect(0);
}

TEST(QelTransformListingTest, PrintsTheGraphToAFile) {
    MoxSmartPtr<SourceTransform> const source = sourceNamed("first");
    std::string const file = testing::TempDir() + "QelTransformListingTest.graph";
    EXPECT_TRUE(source->printGraph(file, 2));
    std::ifstream in(file);
    std::ostringstream text;
    text << in.rdbuf();
    EXPECT_EQ(printedGraph(*source), text.str());
    std::filesystem::remove(file);
    EXPECT_FALSE(source->printGraph(file + "/nowhere", 2));
}

// Raises when it is printed.
class UnprintableTransform : public ScriptedTransform {
  public:
    using ScriptedTransform::ScriptedTransform;
    std::function<void()> raise;
    void printTransform(std::ostream &, std::string const &) const override { raise(); }
};

TEST(QelTransformListingTest, PrintsAnErrorThatStopsTheGraph) {
    MoxSmartPtr<UnprintableTransform> const transform(new UnprintableTransform("t"));
    transform->raise = [] { qelRaise(QelErrorCode::misuse, "no way"); };
    expectHolds("Error caught in QelTransform::printGraph: QEL error 3\nno way",
                printedGraph(*transform));
    transform->raise = [] { throw 5; };
    expectHolds("Error caught in QelTransform::printGraph: NOT-ZAN", printedGraph(*transform));
}

}  // namespace
