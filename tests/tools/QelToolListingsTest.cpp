// What the command line tool lists, as tables and as JSON.

#include <algorithm>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "ToolTesting.h"

namespace {

using Json = nlohmann::ordered_json;

class QelToolListingsTest : public QelToolTest {
  protected:
    std::vector<std::string> linesOf(std::vector<std::string> const & arguments) {
        Outcome const outcome = run(arguments);
        EXPECT_EQ(0, outcome.code);
        EXPECT_EQ("", outcome.err);
        std::istringstream in(outcome.out);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }
    // The array that is listed. That its text is the same once more shows the indentation, and that
    // nothing but a line feed follows.
    Json jsonOf(std::vector<std::string> const & arguments) {
        Outcome const outcome = run(arguments);
        EXPECT_EQ(0, outcome.code);
        EXPECT_EQ("", outcome.err);
        Json const json = Json::parse(outcome.out, nullptr, false);
        EXPECT_TRUE(json.is_array()) << outcome.out;
        EXPECT_EQ(json.dump(2) + "\n", outcome.out);
        return json;
    }
    static std::vector<std::string> keysOf(Json const & object) {
        std::vector<std::string> keys;
        for (auto const & item : object.items())
            keys.push_back(item.key());
        return keys;
    }
};

using Keys = std::vector<std::string>;

TEST_F(QelToolListingsTest, ColoursIsATableInTheOrderOfTheRegistry) {
    std::vector<std::string> const lines = linesOf({"colours"});
    ASSERT_EQ(1U + 53U, lines.size());
    struct Row {
        std::size_t line;
        char const * text;
    };
    for (Row const & row :
         {Row{0,
              "class                    label        bands  range     band names               "
              "alpha partner"},
          Row{1,
              "QelGenericColorSpace     Generic      3      0 to 255                           "
              "GenericA"},
          Row{2,
              "QelGenericAColorSpace    GenericA     4      0 to 255                           "
              "Generic"},
          Row{3,
              "QelNormalizedColorSpace  Normalized   3      0 to 1                             "
              "GenericA"},
          Row{4,
              "QelRGBColorSpace         RGB          3      0 to 255  red, green, blue         "
              "RGBA"},
          Row{5,
              "QelRGBAColorSpace        RGBA         4      0 to 255  red, green, blue, alpha  "
              "RGB"},
          Row{7,
              "QelLumAColorSpace        LumA         2      0 to 255  luminance, alpha         "
              "Lum"},
          Row{18,
              "QelFpxRGBColorSpace      RGB          3      0 to 255  R, G, B                  "
              "RGBA"},
          Row{26, "QelCIEXYZColorSpace      CIE-XYZ-D65  3      0 to 255  X-D65, Y-D65, Z-D65"},
          Row{28, "QelCMYKColorSpace        CMYK         4      0 to 255  C, M, Y, K"},
          Row{53, "QelUSpaceColorSpace      USpace       3      0 to 255  NEU, GM, ILL"}}) {
        EXPECT_EQ(row.text, lines[row.line]);
    }
    std::set<std::string> classes;
    std::vector<MoxConstSmartPtr<QelColorSpace>> const spaces = qelColorSpaces();
    for (std::size_t index = 0; index < spaces.size(); ++index) {
        std::string const & line = lines[index + 1];
        std::string const name = line.substr(0, line.find(' '));
        EXPECT_EQ(spaces[index]->className(), name);
        classes.insert(name);
    }
    EXPECT_EQ(53U, classes.size());
}

TEST_F(QelToolListingsTest, ColoursAsJsonIsWhatTheRegistryHas) {
    Json const json = jsonOf({"colours", "--json"});
    std::vector<MoxConstSmartPtr<QelColorSpace>> const spaces = qelColorSpaces();
    ASSERT_EQ(spaces.size(), json.size());
    for (std::size_t i = 0; i < spaces.size(); ++i) {
        QelColorSpace const & space = *spaces[i];
        SCOPED_TRACE(space.className());
        EXPECT_EQ((Keys{"class", "label", "bands", "range", "band_names", "alpha_partner"}),
                  keysOf(json[i]));
        EXPECT_EQ(space.className(), json[i]["class"]);
        EXPECT_EQ(space.name(), json[i]["label"]);
        EXPECT_EQ(space.numBands(), json[i]["bands"]);
        EXPECT_EQ((Keys{"min", "max"}), keysOf(json[i]["range"]));
        EXPECT_EQ(space.minValue(), json[i]["range"]["min"]);
        EXPECT_EQ(space.maxValue(), json[i]["range"]["max"]);
        Json names = Json::array();
        for (int band = 0; band < space.numBands(); ++band) {
            std::string const name = space.bandName(band);
            names.push_back(name.empty() ? Json() : Json(name));
        }
        EXPECT_EQ(names, json[i]["band_names"]);
        char const * const partner = space.alphaPartnerName();
        EXPECT_EQ(partner != nullptr ? Json(partner) : Json(), json[i]["alpha_partner"]);
    }
}

TEST_F(QelToolListingsTest, TheFirstColoursAsJson) {
    std::string const expected = R"([
  {
    "class": "QelGenericColorSpace",
    "label": "Generic",
    "bands": 3,
    "range": {
      "min": 0,
      "max": 255
    },
    "band_names": [
      null,
      null,
      null
    ],
    "alpha_partner": "GenericA"
  },
)";
    EXPECT_EQ(expected, run({"colours", "--json"}).out.substr(0, expected.size()));
}

TEST_F(QelToolListingsTest, OpsAsJsonIsWhatTheCatalogHas) {
    Json const json = jsonOf({"ops", "--json"});
    std::vector<QelTransformDescription> const & ops = QelTransformCatalog::standard().ops();
    ASSERT_EQ(ops.size(), json.size());
    for (std::size_t i = 0; i < ops.size(); ++i) {
        SCOPED_TRACE(ops[i].name);
        EXPECT_EQ((Keys{"name", "summary", "parameters"}), keysOf(json[i]));
        EXPECT_EQ(ops[i].name, json[i]["name"]);
        EXPECT_EQ(ops[i].summary, json[i]["summary"]);
        ASSERT_EQ(ops[i].parameters.size(), json[i]["parameters"].size());
        for (std::size_t p = 0; p < ops[i].parameters.size(); ++p) {
            QelTransformParameter const & expected = ops[i].parameters[p];
            Json const & found = json[i]["parameters"][p];
            EXPECT_EQ((Keys{"name", "type", "range", "default", "summary"}), keysOf(found));
            EXPECT_EQ(expected.name, found["name"]);
            EXPECT_EQ(expected.typeName(), found["type"]);
            EXPECT_EQ((Keys{"min", "max"}), keysOf(found["range"]));
            EXPECT_EQ(expected.min, found["range"]["min"]);
            EXPECT_EQ(expected.max, found["range"]["max"]);
            EXPECT_EQ(expected.defaultValue ? Json(*expected.defaultValue) : Json(),
                      found["default"]);
            EXPECT_EQ(expected.summary, found["summary"]);
        }
    }
}

TEST_F(QelToolListingsTest, OpsAsJsonHasParametersWithAndWithoutADefault) {
    Json const json = jsonOf({"ops", "--json"});
    EXPECT_EQ(Json::parse(R"({"name": "radius", "type": "integer", "range": {"min": 1, "max": 64},
                              "default": null, "summary": "radius of the blur, in pixels"})"),
              json[0]["parameters"][0]);
    EXPECT_EQ(
        Json::parse(R"({"name": "convolve",
                              "summary": "weighted sum of the pixels around each pixel",
                              "parameters": [{"name": "kernel", "type": "list of numbers",
                                              "range": {"min": -1000000, "max": 1000000},
                                              "default": null, "summary": )"
                    R"("weights of a square around each pixel, row by row, such as 9 or 25"}]})"),
        json[1]);
    EXPECT_EQ(Json::parse(R"({"name": "invert", "summary": "the negative", "parameters": []})"),
              json[2]);
    EXPECT_EQ(Json::parse(R"({"name": "gain", "type": "number",
                              "range": {"min": -1000000, "max": 1000000}, "default": 1,
                              "summary": "contrast factor"})"),
              json[3]["parameters"][0]);
}

// Sources are no operations that a user can append.
TEST_F(QelToolListingsTest, OpsAreListedByNameWithoutSources) {
    std::vector<std::string> names;
    for (Json const & op : jsonOf({"ops", "--json"}))
        names.push_back(op["name"]);
    EXPECT_EQ((std::vector<std::string>{"blur", "convolve", "invert", "linear", "sharpen"}), names);
    std::vector<std::string> listed;
    for (std::string const & line : linesOf({"ops"})) {
        if (line.front() != ' ') listed.push_back(line);
    }
    EXPECT_EQ(names, listed);
}

TEST_F(QelToolListingsTest, UnitsAsJsonAreWhatTheRegistryHas) {
    Json const json = jsonOf({"space", "--list-units", "--json"});
    ASSERT_EQ(24U, json.size());
    int last = -1;
    for (Json const & found : json) {
        SCOPED_TRACE(found.dump());
        EXPECT_EQ((Keys{"id", "singular_name", "plural_name", "standard_unit", "multiplier",
                        "tolerance"}),
                  keysOf(found));
        int const id = found["id"];
        EXPECT_LT(last, id);
        last = id;
        QelUnitInfo const & unit = QelValue::getUnitInfo(id);
        EXPECT_EQ(unit.singularName, found["singular_name"]);
        EXPECT_EQ(unit.pluralName, found["plural_name"]);
        EXPECT_EQ(QelValue::getUnitInfo(unit.standardId).singularName, found["standard_unit"]);
        EXPECT_EQ(unit.multiplier != 0.0 ? Json(unit.multiplier) : Json(), found["multiplier"]);
        EXPECT_EQ(unit.tolerance, found["tolerance"]);
    }
}

// Shorter than those of the table's six digits allow, where they have more.
TEST_F(QelToolListingsTest, NumbersInJsonAreAsShortAsTheyReadBack) {
    std::string const text = run({"space", "--list-units", "--json"}).out;
    for (char const * const line :
         {"\n    \"multiplier\": 0.0254,\n    \"tolerance\": 3.937007874015748e-05\n",
          "\n    \"multiplier\": 3600,\n", "\n    \"tolerance\": 1e-06\n"}) {
        EXPECT_NE(std::string::npos, text.find(line)) << line;
    }
}

TEST_F(QelToolListingsTest, JsonWithoutAListingIsRefused) {
    std::string const text = "--json goes with --list-units alone, without --size";
    expectFailed(2, text, {"space", "--json"});
    expectFailed(2, text, {"space", "--size", "2 inches", "1 inch", "--json"});
    expectFailed(2, text, {"space", "--list-units", "--size", "2 inches", "1 inch", "--json"});
    for (char const * const option : {"--dpi", "--convert"}) {
        expectFailed(2, "--dpi and --convert go with --size",
                     {"space", "--list-units", "--json", option, "3"});
        expectFailed(2, "--dpi and --convert go with --size",
                     {"space", "--list-units", option, "3"});
    }
    expectFailed(2, "The following argument was not expected: --json",
                 {"info", "@testcard", "--json"});
    expectFailed(2, "The following argument was not expected: --json",
                 {"convert", "@testcard", file("a.png"), "--json"});
    expectFailed(2, "The following argument was not expected: RGB", {"colours", "RGB"});
    expectFailed(2, "A subcommand is required", {"--json"});
}

TEST_F(QelToolListingsTest, FullStandardOutputIsAFailure) {
    for (char const * const command : {"colours", "ops"}) {
        Outcome const outcome = finish(start({command, "--json"}, "/dev/full"));
        EXPECT_EQ(1, outcome.code);
        EXPECT_EQ("qel: Cannot write to standard output\n", outcome.err);
    }
}

}  // namespace
