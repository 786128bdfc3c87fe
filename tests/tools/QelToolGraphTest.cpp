// The graph of transforms as the command line tool prints it, as text and for Graphviz.

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <utility>

#include "ToolTesting.h"

namespace {

using Lines = std::vector<std::string>;

// ---- The language of Graphviz, as strictly as it can be read

struct DotNode {
    std::map<std::string, std::string> attributes;  // quoted ones unescaped by the reader
    Lines label;
};

struct DotEdge {
    std::string from;
    std::string to;
    std::map<std::string, std::string> attributes;

    friend bool operator==(DotEdge const &, DotEdge const &) = default;
};

struct DotGraph {
    std::map<std::string, std::string> settings;
    std::map<std::string, std::map<std::string, std::string>> defaults;
    std::map<std::string, DotNode> nodes;
    std::vector<DotEdge> edges;
};

struct DotToken {
    enum Kind { Word, Quoted, Mark, End } kind = End;
    std::string text;  // of a quoted text what stands between the quotes

    friend bool operator==(DotToken const &, DotToken const &) = default;
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool startsWord(char c) {
    return std::isalpha(static_cast<unsigned char>(c)) != 0 || c == '_';
}

bool continuesWord(char c) {
    return startsWord(c) || isDigit(c);
}

// Raises std::runtime_error for anything but names, numbers, quoted texts and punctuation.
class DotLexer {
  public:
    explicit DotLexer(std::string text) : text_(std::move(text)) {}

    DotToken next() {
        while (at_ < text_.size() && (text_[at_] == ' ' || text_[at_] == '\n'))
            ++at_;
        if (at_ == text_.size()) return {};
        char const c = text_[at_];
        if (c == '"') return {DotToken::Quoted, quoted()};
        if (startsWord(c)) return {DotToken::Word, run(continuesWord)};
        if (isDigit(c)) return {DotToken::Word, number()};
        if (text_.compare(at_, 2, "->") == 0) {
            at_ += 2;
            return {DotToken::Mark, "->"};
        }
        if (std::string("{}[]=;,").find(c) == std::string::npos)
            throw std::runtime_error(std::string("unexpected character ") + c);
        ++at_;
        return {DotToken::Mark, std::string(1, c)};
    }

  private:
    template <class Is>
    std::string run(Is const & is) {
        std::size_t const start = at_;
        while (at_ < text_.size() && is(text_[at_]))
            ++at_;
        return text_.substr(start, at_ - start);
    }
    std::string number() {
        std::string const whole = run(isDigit);
        if (at_ == text_.size() || text_[at_] != '.') return whole;
        ++at_;
        return whole + "." + run(isDigit);
    }
    // A backslash takes the next character with it, so that of an even number of them none hides
    // the closing quote.
    std::string quoted() {
        std::string found;
        for (++at_; at_ < text_.size() && text_[at_] != '"'; ++at_) {
            if (text_[at_] == '\n') throw std::runtime_error("a line ends within quotes");
            found += text_[at_];
            if (text_[at_] != '\\') continue;
            if (++at_ == text_.size()) break;
            found += text_[at_];
        }
        if (at_ == text_.size()) throw std::runtime_error("a quote is not closed");
        ++at_;
        return found;
    }

    std::string text_;
    std::size_t at_ = 0;
};

// What Graphviz shows of a label: its lines, each of which ends with "\l".
Lines shownLines(std::string const & label) {
    Lines lines;
    std::string line;
    for (std::size_t i = 0; i < label.size(); ++i) {
        if (label[i] == '&') {
            if (label.compare(i, 5, "&amp;") != 0) throw std::runtime_error("a bare ampersand");
            i += 4;
            line += '&';
        } else if (label[i] != '\\') {
            line += label[i];
        } else if (char const escaped = label.at(++i); escaped == 'l') {
            lines.push_back(std::exchange(line, ""));
        } else if (escaped == '"' || escaped == '\\') {
            line += escaped;
        } else {
            throw std::runtime_error(std::string("unexpected escape ") + escaped);
        }
    }
    if (!line.empty()) throw std::runtime_error("a line without an end: " + line);
    return lines;
}

class DotParser {
  public:
    explicit DotParser(std::string text) : lexer_(std::move(text)) { advance(); }

    DotGraph graph() {
        expectWord("digraph");
        takeWord();
        expectMark("{");
        while (!isMark("}"))
            statement();
        expectMark("}");
        if (token_.kind != DotToken::End) throw std::runtime_error("text behind the graph");
        return graph_;
    }

  private:
    void advance() { token_ = lexer_.next(); }
    bool isMark(char const * text) const { return token_ == DotToken{DotToken::Mark, text}; }
    void expectMark(std::string const & text) {
        if (!isMark(text.c_str()))
            throw std::runtime_error("expected " + text + ", found " + token_.text);
        advance();
    }
    void expectWord(std::string const & text) {
        if (takeWord() != text) throw std::runtime_error("expected " + text);
    }
    std::string takeWord() {
        if (token_.kind != DotToken::Word) throw std::runtime_error("no name: " + token_.text);
        std::string const text = token_.text;
        advance();
        return text;
    }
    std::string takeValue() {
        if (token_.kind != DotToken::Quoted) return takeWord();
        std::string const text = token_.text;
        advance();
        return text;
    }
    std::map<std::string, std::string> attributes() {
        std::map<std::string, std::string> found;
        expectMark("[");
        while (!isMark("]")) {
            if (!found.empty()) expectMark(",");
            std::string const name = takeWord();
            expectMark("=");
            if (!found.emplace(name, takeValue()).second)
                throw std::runtime_error("given twice: " + name);
        }
        expectMark("]");
        return found;
    }
    void statement() {
        std::string const name = takeWord();
        if (isMark("=")) {
            advance();
            graph_.settings[name] = takeValue();
        } else if (isMark("->")) {
            advance();
            std::string const to = takeWord();
            graph_.edges.push_back({name, to, attributes()});
        } else if (name == "node" || name == "edge") {
            graph_.defaults[name] = attributes();
        } else {
            addNode(name);
        }
        expectMark(";");
    }
    void addNode(std::string const & name) {
        DotNode node;
        node.attributes = attributes();
        node.label = shownLines(node.attributes.at("label"));
        if (!graph_.nodes.emplace(name, node).second)
            throw std::runtime_error("a second node " + name);
    }

    DotLexer lexer_;
    DotToken token_;
    DotGraph graph_;
};

// A text of XML without its entities.
std::string plainText(std::string const & xml) {
    static std::map<std::string, char> const entities{{"amp", '&'},  {"lt", '<'},   {"gt", '>'},
                                                      {"quot", '"'}, {"#39", '\''}, {"#45", '-'},
                                                      {"#160", ' '}};
    std::string text;
    for (std::size_t i = 0; i < xml.size(); ++i) {
        if (xml[i] != '&') {
            text += xml[i];
            continue;
        }
        std::size_t const end = xml.find(';', i);
        text += entities.at(xml.substr(i + 1, end - i - 1));
        i = end;
    }
    return text;
}

// The lines in each box of an SVG file that Graphviz wrote, by the box's name.
std::map<std::string, Lines> boxesOf(std::istream & svg) {
    std::map<std::string, Lines> boxes;
    Lines * box = nullptr;
    bool isNode = false;
    for (std::string line; std::getline(svg, line);) {
        auto const content = [&] {
            std::size_t const start = line.find('>') + 1;
            return plainText(line.substr(start, line.rfind("</") - start));
        };
        if (line.rfind("<g ", 0) == 0) isNode = line.find("class=\"node\"") != std::string::npos;
        if (isNode && line.rfind("<title>", 0) == 0) box = &boxes[content()];
        if (isNode && line.rfind("<text ", 0) == 0) box->push_back(content());
    }
    return boxes;
}

class QelToolGraphTest : public QelToolTest {
  protected:
    void writePng(std::string const & name, std::int32_t width, std::int32_t height) {
        Qel2DImage image(softPicture(width, height, 3).get());
        QelPictureWriter(file("plain.png")).write(image);
        if (name != "plain.png") std::filesystem::rename(file("plain.png"), file(name));
    }
    std::string graph(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "graph");
        Outcome const outcome = run(arguments);
        EXPECT_EQ(0, outcome.code);
        EXPECT_EQ("", outcome.err);
        return outcome.out;
    }
    // Of a chain: node t0 feeds t1 and so on.
    DotGraph dot(std::vector<std::string> arguments) {
        arguments.push_back("--dot");
        std::string const text = graph(arguments);
        DotGraph found;
        try {
            found = DotParser(text).graph();
        } catch (std::exception const & error) {
            ADD_FAILURE() << error.what() << " in\n" << text;
            return found;
        }
        EXPECT_EQ("LR", found.settings["rankdir"]);
        EXPECT_EQ("box", found.defaults["node"]["shape"]);
        EXPECT_EQ(found.nodes.size(), found.edges.size() + 1) << text;
        for (std::size_t i = 0; i < found.edges.size(); ++i) {
            EXPECT_EQ((DotEdge{"t" + std::to_string(i),
                               "t" + std::to_string(i + 1),
                               {{"taillabel", "out"}, {"headlabel", "in"}}}),
                      found.edges[i]);
        }
        for (std::size_t i = 0; i < found.nodes.size(); ++i)
            EXPECT_EQ(1U, found.nodes.count("t" + std::to_string(i))) << text;
        return found;
    }
    // What Graphviz makes of it, without a warning.
    std::map<std::string, Lines> drawn(std::vector<std::string> arguments) {
        arguments.push_back("--dot");
        EXPECT_EQ("", finish(start(arguments, scratch_.file("out"))).err);
        std::string const out = scratch_.file("out");
        std::string const command = "dot -Tsvg " + out + " > " + out + ".svg 2> " + out + ".err";
        EXPECT_EQ(0, std::system(command.c_str()));
        EXPECT_EQ("", text("out.err"));
        std::ifstream svg(out + ".svg");
        return boxesOf(svg);
    }
    static bool isRed(DotNode const & node) {
        bool const red = node.attributes.count("color") != 0;
        if (red) {
            EXPECT_EQ("red", node.attributes.at("color"));
            EXPECT_EQ("red", node.attributes.at("fontcolor"));
        }
        EXPECT_EQ(red ? 3U : 1U, node.attributes.size());
        return red;
    }
    static Lines fileAttributes(std::string const & name) {
        return {"fileName = \"" + name + '"', "maxBytes = 4294967296", "maxWidth = 1000000",
                "maxHeight = 1000000"};
    }
    // What a box of a file shows, with a message if it is bad.
    static Lines fileLabel(std::string const & name, Lines const & message) {
        Lines label{"picture",
                    std::string("QelPictureTransform, ") + (message.empty() ? "good" : "bad")};
        label.insert(label.end(), message.begin(), message.end());
        Lines const attributes = fileAttributes(name);
        label.insert(label.end(), attributes.begin(), attributes.end());
        return label;
    }
};

TEST_F(QelToolGraphTest, TextHasABlockForEachTransform) {
    EXPECT_EQ(
        "testcard: QelTestCardTransform, good\n"
        "    width = 70\n"
        "    height = 50\n"
        "linear: QelLinearTransform, good\n"
        "    gain = 1.5\n"
        "    offset = -20.25\n"
        "    in <- testcard.out\n"
        "blur: QelBlurTransform, good\n"
        "    radius = 3\n"
        "    kernel = []\n"
        "    in <- linear.out\n"
        "convolve: QelConvolveTransform, good\n"
        "    kernel = [0:-1:0:-1:5.5:-1:0:-1:0]\n"
        "    in <- blur.out\n"
        "invert: QelInvertTransform, good\n"
        "    in <- convolve.out\n",
        graph({"@testcard:70x50", "linear:offset=-20.25,gain=1.5", "blur:radius=3",
               "convolve:kernel=0:-1:0:-1:5.5:-1:0:-1:0", "invert"}));
}

TEST_F(QelToolGraphTest, ASourceAloneIsAGraph) {
    EXPECT_EQ("testcard: QelTestCardTransform, good\n    width = 1024\n    height = 768\n",
              graph({"@testcard"}));
    writePng("a.png", 40, 30);
    EXPECT_EQ("picture: QelPictureTransform, good\n    fileName = \"" + file("a.png") +
                  "\"\n    maxBytes = 4294967296\n    maxWidth = 1000000\n    maxHeight = "
                  "1000000\n",
              graph({file("a.png")}));
}

TEST_F(QelToolGraphTest, DotHasABoxForEachTransformAndAnArrowForEachConnection) {
    EXPECT_EQ(
        "digraph qel {\n"
        "    rankdir=LR;\n"
        "    ranksep=0.9;\n"
        "    node [shape=box, fontname=\"sans-serif\"];\n"
        "    edge [fontname=\"sans-serif\", fontsize=10, labeldistance=1.8];\n"
        "    t0 [label=\"testcard\\lQelTestCardTransform, good\\lwidth = 70\\lheight = 50\\l\"];\n"
        "    t1 [label=\"invert\\lQelInvertTransform, good\\l\"];\n"
        "    t2 [label=\"sharpen\\lQelSharpenTransform, good\\lradius = 0\\lkernel = []\\l\"];\n"
        "    t0 -> t1 [taillabel=\"out\", headlabel=\"in\"];\n"
        "    t1 -> t2 [taillabel=\"out\", headlabel=\"in\"];\n"
        "}\n",
        graph({"@testcard:70x50", "invert", "sharpen", "--dot"}));
}

TEST_F(QelToolGraphTest, DotIsWellFormed) {
    DotGraph const found = dot({"@testcard", "blur", "sharpen:radius=2"});
    ASSERT_EQ(3U, found.nodes.size());
    EXPECT_EQ((Lines{"testcard", "QelTestCardTransform, good", "width = 1024", "height = 768"}),
              found.nodes.at("t0").label);
    EXPECT_EQ((Lines{"sharpen", "QelSharpenTransform, good", "radius = 2", "kernel = []"}),
              found.nodes.at("t2").label);
    for (auto const & [name, node] : found.nodes)
        EXPECT_FALSE(isRed(node)) << name;
}

TEST_F(QelToolGraphTest, RepeatedOperationsAreNumbered) {
    std::vector<std::string> const arguments{"@testcard", "blur",   "invert", "blur",
                                             "blur",      "invert", "sharpen"};
    std::vector<std::string> const labels{"testcard", "blur",     "invert", "blur-2",
                                          "blur-3",   "invert-2", "sharpen"};
    DotGraph const found = dot(arguments);
    std::string const text = graph(arguments);
    ASSERT_EQ(labels.size(), found.nodes.size());
    for (std::size_t i = 0; i < labels.size(); ++i) {
        EXPECT_EQ(labels[i], found.nodes.at("t" + std::to_string(i)).label.front());
        if (i > 0) {
            EXPECT_NE(std::string::npos, text.find("    in <- " + labels[i - 1] + ".out\n"))
                << labels[i];
        }
    }
}

// A long chain is a graph as any other.
TEST_F(QelToolGraphTest, LongChains) {
    std::vector<std::string> arguments{"@testcard:8x8"};
    arguments.insert(arguments.end(), 300, "invert");
    EXPECT_EQ(301U, dot(arguments).nodes.size());
}

// What is drawn is what is there: a graph with a bad source is no failure.
TEST_F(QelToolGraphTest, AMissingFileIsARedBoxWithItsMessage) {
    std::string const missing = file("none.png");
    std::string const reason = "Cannot read " + missing + ": No such file or directory";
    DotGraph const found = dot({missing, "blur", "invert"});
    ASSERT_EQ(3U, found.nodes.size());
    EXPECT_EQ(fileLabel(missing, {reason}), found.nodes.at("t0").label);
    EXPECT_EQ(
        (Lines{"blur", "QelBlurTransform, bad", reason,
               "Transform blur(QelBlurTransform) has invalid inputs", "radius = 0", "kernel = []"}),
        found.nodes.at("t1").label);
    EXPECT_EQ(
        (Lines{"invert", "QelInvertTransform, bad",
               "Input in(index 0) of transform invert(QelInvertTransform) has bad status: ",
               "QEL error 13", reason, "Transform blur(QelBlurTransform) has invalid inputs"}),
        found.nodes.at("t2").label);
    for (auto const & [name, node] : found.nodes)
        EXPECT_TRUE(isRed(node)) << name;
}

TEST_F(QelToolGraphTest, TextShowsMessagesIndented) {
    std::string const missing = file("none.png");
    std::string const reason = "Cannot read " + missing + ": No such file or directory\n";
    EXPECT_EQ("picture: QelPictureTransform, bad\n    " + reason + "    fileName = \"" + missing +
                  "\"\n    maxBytes = 4294967296\n    maxWidth = 1000000\n    maxHeight = "
                  "1000000\nblur: QelBlurTransform, bad\n    " +
                  reason +
                  "    Transform blur(QelBlurTransform) has invalid inputs\n    radius = 0\n    "
                  "kernel = []\n    in <- picture.out\n",
              graph({missing, "blur"}));
}

TEST_F(QelToolGraphTest, FilesThatCannotBeReadAreRed) {
    setContent(file("text.png"), Bytes(100, 'x'));
    setContent(file("start.jpg"), {0xFF, 0xD8, 0xFF});
    for (auto const & [name, reason] :
         {std::pair(file("text.png"), "it is neither a JPEG nor a PNG file"),
          std::pair(file("start.jpg"), "the file ends too early"),
          std::pair(folder_.path(), "Is a directory")}) {
        DotGraph const found = dot({name});
        EXPECT_EQ(fileLabel(name, {"Cannot read " + name + ": " + reason}),
                  found.nodes.at("t0").label);
        EXPECT_TRUE(isRed(found.nodes.at("t0")));
    }
}

// No pixel is read for a graph.
TEST_F(QelToolGraphTest, DamageBehindTheHeaderIsNotSeen) {
    writePng("a.png", 200, 200);
    std::filesystem::resize_file(file("a.png"), std::filesystem::file_size(file("a.png")) / 2);
    DotGraph const found = dot({file("a.png"), "blur"});
    EXPECT_EQ(fileLabel(file("a.png"), {}), found.nodes.at("t0").label);
    EXPECT_FALSE(isRed(found.nodes.at("t1")));
}

// Names that mean something to Graphviz; line feeds come as lines of their own.
TEST_F(QelToolGraphTest, NamesOfFilesAreEscaped) {
    for (std::string const name :
         {"a\"b.png", "\"", "\\", "a\\", "a\\\"", "\\\\\"\"\\", "\\N\\G\\l\\n.png", "]; } -> x [",
          "R&D&amp;&lt;.png", "{a|b}<c>", "\t \r#*",
          "Stra\xC3\x9F"
          "e.png"}) {
        SCOPED_TRACE(name);
        std::string const path = file(name);
        DotGraph const missing = dot({path});
        EXPECT_EQ(fileLabel(path, {"Cannot read " + path + ": No such file or directory"}),
                  missing.nodes.at("t0").label);
        writePng(name, 5, 4);
        DotGraph const found = dot({path});
        EXPECT_EQ(fileLabel(path, {}), found.nodes.at("t0").label);
    }
}

// Graphviz itself, where the machine has it.
TEST_F(QelToolGraphTest, GraphvizShowsTheSameLines) {
    if (std::system("command -v dot > /dev/null") != 0) GTEST_SKIP() << "no Graphviz";
    for (std::string const name : {"a.png", "a\"b", "\\", "a\\\"", "\\\\\"\"\\", "\\N\\G\\l\\n",
                                   "]; } -> x [", "R&D&amp;&lt;", "{a|b}<c>",
                                   "Stra\xC3\x9F"
                                   "e",
                                   "one\ntwo\\\n\"three\"\n"}) {
        SCOPED_TRACE(name);
        std::vector<std::string> const arguments{file(name), "blur", "invert"};
        DotGraph const expected = dot(arguments);
        std::map<std::string, Lines> const shown = drawn({"graph", arguments[0], "blur", "invert"});
        ASSERT_EQ(expected.nodes.size(), shown.size());
        for (auto const & [node, content] : expected.nodes)
            EXPECT_EQ(content.label, shown.at(node));
    }
}

TEST_F(QelToolGraphTest, LineFeedsInNamesOfFilesEndLines) {
    std::string const path = file("one\ntwo\\\n\"three\"\n");
    std::string const start = "Cannot read " + file("one");
    Lines const end{"maxBytes = 4294967296", "maxWidth = 1000000", "maxHeight = 1000000"};
    Lines expected{"picture",
                   "QelPictureTransform, bad",
                   start,
                   "two\\",
                   "\"three\"",
                   ": No such file or directory",
                   "fileName = \"" + file("one"),
                   "two\\",
                   "\"three\"",
                   "\""};
    expected.insert(expected.end(), end.begin(), end.end());
    EXPECT_EQ(expected, dot({path}).nodes.at("t0").label);
    EXPECT_EQ("picture: QelPictureTransform, bad\n    " + start +
                  "\n    two\\\n    \"three\"\n    : No such file or directory\n    fileName = \"" +
                  file("one") +
                  "\n    two\\\n    \"three\"\n    \"\n    maxBytes = 4294967296\n    maxWidth = "
                  "1000000\n    maxHeight = 1000000\n",
              graph({path}));
}

TEST_F(QelToolGraphTest, CommandLinesThatCannotBeUnderstood) {
    struct Row {
        std::vector<std::string> arguments;
        char const * line;
    };
    for (Row const & row : std::vector<Row>{
             {{"graph"}, "IN is required"},
             {{"graph", "--dot"}, "IN is required"},
             {{"graph", "@testcard", "--nothing"},
              "The following argument was not expected: --nothing"},
             {{"graph", "@testcard", "--stats"},
              "The following argument was not expected: --stats"},
             {{"graph", "@photo"},
              "There is no built-in picture \"@photo\"; there are @testcard and @testcard:WxH"},
             {{"graph", "@testcard:0x5"},
              "The size of the test card is \"0x5\", it must be WxH, with both from 1 to 1000000"},
             {{"graph", "@testcard", "inverse"},
              "There is no operation \"inverse\"; there are blur, convolve, invert, linear and "
              "sharpen"},
             {{"graph", "@testcard", "picture"},
              "There is no operation \"picture\"; there are blur, convolve, invert, linear and "
              "sharpen"},
             {{"graph", "none.png", "blur:radius=65"},
              "The value of blur:radius is 65, it must lie between 1 and 64"},
             {{"graph", "none.png", "convolve"}, "The operation convolve needs a kernel"},
             {{"graph", "none.png", "convolve:kernel=1:2"},
              "A kernel of 2 weights is impossible; their number must be 1, 9, 25 or another "
              "square of an odd number up to 129"}}) {
        SCOPED_TRACE(row.line);
        expectFailed(2, row.line, row.arguments);
    }
}

TEST_F(QelToolGraphTest, FullStandardOutputIsAFailure) {
    for (std::vector<std::string> const & arguments :
         {std::vector<std::string>{"graph", "@testcard"}, {"graph", "@testcard", "--dot"}}) {
        Outcome const outcome = finish(start(arguments, "/dev/full"));
        EXPECT_EQ(1, outcome.code);
        EXPECT_EQ("qel: Cannot write to standard output\n", outcome.err);
    }
}

TEST_F(QelToolGraphTest, HelpTellsHowToDrawIt) {
    std::string const help = run({"graph", "--help"}).out;
    for (char const * const word : {"IN", "OP", "--dot", "Graphviz"})
        EXPECT_NE(std::string::npos, help.find(word)) << word;
}

}  // namespace
