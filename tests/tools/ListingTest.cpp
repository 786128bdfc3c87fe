#include "Listing.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <iostream>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Json = nlohmann::ordered_json;

std::string printed(Listing const & listing, bool asJson) {
    std::ostringstream out;
    listing.print(out, asJson);
    return out.str();
}

// The JSON of one value in one row.
std::string said(Value const & value) {
    Listing listing(std::vector<Listing::Column>{{"key", "heading"}});
    listing.add({Cell(value, "")});
    std::string const text = printed(listing, true);
    std::string const before = "[\n  {\n    \"key\": ";
    std::string const after = "\n  }\n]\n";
    EXPECT_EQ(before, text.substr(0, before.size()));
    EXPECT_EQ(after, text.substr(text.size() - after.size()));
    return text.substr(before.size(), text.size() - before.size() - after.size());
}

Listing fruits() {
    Listing listing({{"fruit", "fruit"}, {"seed_count", "seeds"}, {"taste", "taste"}});
    listing.add({"apple", 5, "sour"});
    listing.add({"passion fruit", Value(), Value()});
    listing.add({"fig", 1500, Cell(Value::List{"sweet", Value()}, "sweet, and more")});
    return listing;
}

TEST(ListingTest, TheTableIsAsWideAsItHasToBeAndNoLineEndsInBlanks) {
    EXPECT_EQ(
        "fruit          seeds  taste\n"
        "apple          5      sour\n"
        "passion fruit\n"
        "fig            1500   sweet, and more\n",
        printed(fruits(), false));
}

TEST(ListingTest, JsonHasTheKeysInTheOrderOfTheColumns) {
    EXPECT_EQ(R"([
  {
    "fruit": "apple",
    "seed_count": 5,
    "taste": "sour"
  },
  {
    "fruit": "passion fruit",
    "seed_count": null,
    "taste": null
  },
  {
    "fruit": "fig",
    "seed_count": 1500,
    "taste": [
      "sweet",
      null
    ]
  }
]
)",
              printed(fruits(), true));
}

TEST(ListingTest, WithoutRowsTheTableIsItsHeadingsAndTheArrayEmpty) {
    Listing const listing(std::vector<Listing::Column>{{"a", "A"}, {"b", "B"}});
    EXPECT_EQ("A  B\n", printed(listing, false));
    EXPECT_EQ("[]\n", printed(listing, true));
}

TEST(ListingTest, KindsOfValues) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    struct Row {
        Value value;
        char const * json;
    };
    for (Row const & row :
         {Row{Value(), "null"}, Row{static_cast<char const *>(nullptr), "null"}, Row{"", "\"\""},
          Row{"a \"b\"\n", R"("a \"b\"\n")"}, Row{"gr\xC3\xBCn", "\"gr\xC3\xBCn\""},
          Row{"\xFF", "\"\xEF\xBF\xBD\""}, Row{0, "0"}, Row{-7, "-7"}, Row{255.0, "255"},
          Row{-1e6, "-1000000"}, Row{0.1, "0.1"}, Row{1e-6, "1e-06"}, Row{1e300, "1e+300"},
          Row{infinity, "null"}, Row{-infinity, "null"}, Row{std::nan(""), "null"},
          Row{Value::List(), "[]"}, Row{Value::Record(), "{}"}}) {
        EXPECT_EQ(row.json, said(row.value));
    }
    EXPECT_EQ("{\n      \"z\": 1,\n      \"a\": [\n        \"x\"\n      ]\n    }",
              said(Value::Record{{"z", 1}, {"a", Value::List{"x"}}}));
}

TEST(ListingTest, NumbersReadBackAsTheSame) {
    constexpr unsigned seed = 20261122;
    std::cout << "random seed " << seed << '\n';
    std::mt19937_64 random(seed);
    for (int i = 0; i < 5000; ++i) {
        double number = 0;
        std::uint64_t const bits = random();
        std::memcpy(&number, &bits, sizeof number);
        if (i % 3 == 0) number = static_cast<double>(static_cast<std::int64_t>(bits >> (i % 60)));
        if (!std::isfinite(number)) continue;
        ASSERT_EQ(number, Json::parse(said(number)).get<double>());
        std::string const text = textOfNumber(number);
        double back = 0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        ASSERT_EQ(number, back) << text;
    }
}

TEST(ListingTest, TextsOfNumbersAndRanges) {
    EXPECT_EQ("0 to 255", textOfRange(0, 255));
    EXPECT_EQ("-0.1 to 1e+300", textOfRange(-0.1, 1e300));
    EXPECT_EQ("-2147483648 to 4294967295", textOfRange(-2147483648.0, 4294967295.0));
    EXPECT_EQ("100000", textOfNumber(1e5));
    EXPECT_EQ("0", textOfNumber(-0.0));
    EXPECT_EQ("inf", textOfNumber(std::numeric_limits<double>::infinity()));
    EXPECT_EQ("-3.4028234663852886e+38", textOfNumber(std::numeric_limits<float>::lowest()));
}

}  // namespace
