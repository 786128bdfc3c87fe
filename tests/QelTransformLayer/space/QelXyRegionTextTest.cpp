#include <iostream>
#include <random>
#include <set>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "RegionTesting.h"
#include "UnitTesting.h"

// The text form of regions, and reading what is none.

namespace {

using Pointer = MoxSmartPtr<QelXyRegion>;

std::string const boxText = "QelXyBox[x=1 inches, y=0.5 inches, w=2 inches, h=1.5 inches]";
std::string const spaceText =
    "QelXyCoordSpace[w=8.5 inches,h=11 inches, "
    "QelXyCoordSpace::Resolution[850,1100:100,100/inch],"
    "QelXyCoordSpace::Resolution[85,110:10,10/inch]"
    ": sel=QelXyCoordSpace::Resolution[850,1100:100,100/inch]]";
std::string const wholeText = "QelXySimpleRegion[" + spaceText + ", " + boxText + "]";

Pointer readFrom(std::string const & text) {
    std::istringstream in(text);
    Pointer region = regionOf(pixelSpace(1, 1)).get();
    in >> region;
    return region;
}

std::string written(Pointer const & region) {
    std::ostringstream text;
    text << region;
    return text.str();
}

// Reads any text. What comes of it is a region, null, or one of our errors, which leaves the
// pointer and leaves the region it points at.
bool readOrRefuse(std::string const & text) {
    std::istringstream in(text);
    Pointer const before = regionOf(pixelSpace(3, 3)).get();
    Pointer region = before;
    std::string const beforeText = written(before);
    try {
        in >> region;
        return true;
    } catch (ZanError const & error) {
        EXPECT_STREQ("QEL", error.getComponent());
        EXPECT_EQ(before.get(), region.get());
        EXPECT_EQ(beforeText, written(region));
        return false;
    }
}

}  // namespace

TEST(QelXyRegionTextTest, WithoutASpace) {
    Pointer const region(new QelXySimpleRegion);
    EXPECT_EQ(
        "QelXySimpleRegion[NULL, QelXyBox[x=0 arbitrary units, y=0 arbitrary units, w=0 arbitrary "
        "units, h=0 arbitrary units]]",
        written(region));
    EXPECT_EQ(written(region), written(readFrom(written(region))));
    EXPECT_EQ(nullptr, readFrom(written(region))->coordSpace().get());
}

TEST(QelXyRegionTextTest, InPixels) {
    EXPECT_EQ(
        "QelXySimpleRegion[QelXyCoordSpace[w=100 pixels, h=50 pixels, "
        "QelXyCoordSpace::Resolution[100,50:1,1/pixel]: "
        "sel=QelXyCoordSpace::Resolution[100,50:1,1/pixel]], "
        "QelXyBox[x=90 pixels, y=1 pixel, w=10 pixels, h=2 pixels]]",
        written(regionOf(pixelSpace(100, 50), pixelBoxAt(90, 1, 20, 2)).get()));
}

TEST(QelXyRegionTextTest, WithoutResolutions) {
    EXPECT_EQ(
        "QelXySimpleRegion[QelXyCoordSpace[w=8 inches, h=4 inches, ], "
        "QelXyBox[x=0.5 inches, y=1 inch, w=2 inches, h=3 inches]]",
        written(regionOf(physicalSpace(8.0, 4.0), boxIn(43, 0.5, 1, 2, 3)).get()));
}

TEST(QelXyRegionTextTest, NullIsNull) {
    EXPECT_EQ("NULL", written(Pointer()));
    EXPECT_EQ(nullptr, readFrom("NULL").get());
    EXPECT_EQ(nullptr, readFrom(" \n NULL]").get());
}

TEST(QelXyRegionTextTest, HandWrittenTextIsRead) {
    struct Case {
        char const * what;
        std::string text;
        MoxSmartPtr<QelXySimpleRegion> region;
    };
    MoxSmartPtr<QelXyCoordSpace> const page = physicalSpace(8.5, 11.0);
    MoxSmartPtr<QelXyCoordSpace> const sampled = sampledSpace(8.5, 11.0, 850, 1100);
    sampled->addResolution(85, 110);
    QelXyBox const box = boxIn(QEL_UNIT_INCH, 1.0, 0.5, 2.0, 1.5);
    Case const cases[] = {
        {"an empty list",
         "QelXySimpleRegion[QelXyCoordSpace[w=8.5 inches,h=11 inches], " + boxText + "]",
         regionOf(page, box)},
        {"resolutions", wholeText, regionOf(sampled, box)},
        {"blanks and lines",
         "\n QelXySimpleRegion [ QelXyCoordSpace[w= 8.5\ninches,h=\t11 inches]\n,\n" + boxText +
             " ]",
         regionOf(page, box)},
        {"relative",
         "QelXySimpleRegion[QelXyCoordSpace[w=1 normalized unit,h=1 normalized unit], "
         "QelXyBox[x=0.25 normalized units, y=0.5 normalized units, w=0.5 normalized units, h=9 "
         "normalized units]]",
         regionOf(relativeSpace(QEL_UNIT_NORMALIZED),
                  boxIn(QEL_UNIT_NORMALIZED, 0.25, 0.5, 0.5, 9.0))},
        {"clipped",
         "QelXySimpleRegion[QelXyCoordSpace[w=10 pixels,h=20 pixels], QelXyBox[x=-5 pixels, y=2 "
         "pixels, w=50 pixels, h=3 pixels]]",
         regionOf(pixelSpace(10, 20), boxIn(QEL_UNIT_PIXEL, -5, 2, 50, 3))},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        Pointer const read = readFrom(row.text);
        ASSERT_NE(nullptr, read.get());
        EXPECT_TRUE(read->equal(*row.region)) << written(read);
    }
}

TEST(QelXyRegionTextTest, ReadingLeavesWhatFollows) {
    std::istringstream in(wholeText + wholeText + "rest");
    Pointer one;
    Pointer two;
    in >> one >> two;
    EXPECT_TRUE(one->equal(*two));
    std::string rest;
    in >> rest;
    EXPECT_EQ("rest", rest);
}

TEST(QelXyRegionTextTest, WhatTheWriterGivesWithASpaceIsABadUnitToTheReader) {
    for (MoxSmartPtr<QelXyCoordSpace> const & space :
         {pixelSpace(100, 50), physicalSpace(8.0, 4.0), sampledSpace(8.0, 4.0, 80, 40),
          relativeSpace(QEL_UNIT_NORMALIZED)}) {
        std::string const text = written(regionOf(space).get());
        SCOPED_TRACE(text);
        expectRaises(QelErrorCode::invalidValue, "Bad unit for QelValue", [&] { readFrom(text); });
    }
}

TEST(QelXyRegionTextTest, Refusals) {
    struct Case {
        char const * what;
        std::string text;
        int code;
        std::string message;
    };
    std::string const bad = "Invalid QelXySimpleRegion value";
    std::string const null = "QelXySimpleRegion[NULL, ";
    Case const cases[] = {
        {"nothing", "", QelErrorCode::invalidValue, "Class  is not registered as an QelXyRegion."},
        {"blanks", "  \n", QelErrorCode::invalidValue,
         "Class  is not registered as an QelXyRegion."},
        {"no word", "[NULL, ", QelErrorCode::invalidValue,
         "Class  is not registered as an QelXyRegion."},
        {"another class", "QelXyOtherRegion[NULL, " + boxText + "]", QelErrorCode::invalidValue,
         "Class QelXyOtherRegion is not registered as an QelXyRegion."},
        {"one of a namespace", "a::b::Region[", QelErrorCode::invalidValue,
         "Class a::b::Region is not registered as an QelXyRegion."},
        {"other case", "qelXySimpleRegion[NULL", QelErrorCode::invalidValue,
         "Class qelXySimpleRegion is not registered as an QelXyRegion."},
        {"a longer name", "QelXySimpleRegions[NULL", QelErrorCode::invalidValue,
         "Class QelXySimpleRegions is not registered as an QelXyRegion."},
        {"no bracket", "QelXySimpleRegion", QelErrorCode::invalidValue, bad},
        {"no comma", "QelXySimpleRegion[NULL " + boxText + "]", QelErrorCode::invalidValue, bad},
        {"no box", null + "]", QelErrorCode::invalidValue, "Invalid QelXyBox value"},
        {"no closing bracket", null + boxText, QelErrorCode::invalidValue, bad},
        {"another closing bracket", null + boxText + "}", QelErrorCode::invalidValue, bad},
        {"a bad value in the box", null + "QelXyBox[x=1 inches, y=1 foot",
         QelErrorCode::invalidValue, "Bad unit for QelValue"},
        {"a negative width in the box",
         null + "QelXyBox[x=1 inches, y=1 inches, w=-1 inches, h=1 inches]]",
         QelErrorCode::illegalWidth, "Negative width value"},
        {"no space", "QelXySimpleRegion[", QelErrorCode::invalidValue,
         "Invalid QelXyCoordSpace value"},
        {"half a null", "QelXySimpleRegion[NU", QelErrorCode::invalidValue,
         "Invalid QelXyCoordSpace value"},
        {"a space without width", "QelXySimpleRegion[QelXyCoordSpace[w=0 inches,h=1 inches], ",
         QelErrorCode::invalidValue, "Width must be greater than 0.0"},
        {"a space without height", "QelXySimpleRegion[QelXyCoordSpace[w=1 inches,h=0 inches], ",
         QelErrorCode::invalidValue, "Height must be greater than 0.0"},
        {"a box that the space does not hold",
         "QelXySimpleRegion[QelXyCoordSpace[w=1 inches,h=1 inches], QelXyBox[x=0 pixels, y=0 "
         "pixels, w=1 pixels, h=1 pixels]]",
         QelErrorCode::noSelectedResolution, pixelRefusal},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        std::istringstream in(row.text);
        Pointer const before = regionOf(pixelSpace(3, 3)).get();
        Pointer region = before;
        expectRaises(row.code, row.message, [&] { in >> region; });
        EXPECT_EQ(before.get(), region.get());
    }
}

TEST(QelXyRegionTextTest, TheEndOfTheTextFailsTheStream) {
    for (std::string const & text :
         {std::string(), std::string("QelXySimpleRegion"), wholeText.substr(0, 30)}) {
        SCOPED_TRACE(text);
        std::istringstream in(text);
        Pointer region;
        EXPECT_THROW(in >> region, ZanError);
        EXPECT_TRUE(in.fail());
    }
}

TEST(QelXyRegionTextTest, AFailedReadLeavesTheRegion) {
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(pixelSpace(10, 10));
    std::string const before = textOf(*region);
    for (std::size_t length = 0; length < wholeText.size(); ++length) {
        std::istringstream in(wholeText.substr(0, length));
        EXPECT_THROW(region->read(in), ZanError) << length;
        EXPECT_EQ(before, textOf(*region));
    }
}

TEST(QelXyRegionTextTest, ATextCutAnywhereIsRefused) {
    for (std::size_t length = 0; length < wholeText.size(); ++length)
        EXPECT_FALSE(readOrRefuse(wholeText.substr(0, length))) << length;
    EXPECT_TRUE(readOrRefuse(wholeText));
}

TEST(QelXyRegionTextTest, ReadsOrRefusesAnyDamage) {
    constexpr unsigned seed = 20260804;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const below = [&](std::size_t n) {
        return std::uniform_int_distribution<std::size_t>(0, n - 1)(random);
    };
    int read = 0;
    for (int round = 0; round < 20000; ++round) {
        std::string text = wholeText;
        for (std::size_t i = below(3) + 1; i > 0; --i) {
            std::size_t const at = below(text.size() - 1);
            switch (below(4)) {
                case 0: text[at] = static_cast<char>(below(256)); break;
                case 1: text.erase(at, below(8)); break;
                case 2: text.insert(at, text.substr(below(text.size()), below(30))); break;
                default: text.insert(at, 1, "0123456789-e.[]"[below(15)]); break;
            }
        }
        SCOPED_TRACE(text);
        if (readOrRefuse(text)) ++read;
        if (testing::Test::HasFailure()) break;
    }
    // Some damage changes nothing but a number.
    EXPECT_LT(100, read);
    EXPECT_GT(19000, read);
}

TEST(QelXyRegionTextTest, ReadsOrRefusesGarbage) {
    constexpr unsigned seed = 20260805;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    for (int round = 0; round < 20000; ++round) {
        std::string text = round % 2 == 0 ? "QelXySimpleRegion[" : "";
        for (int i = std::uniform_int_distribution<int>(0, 60)(random); i > 0; --i)
            text += static_cast<char>(std::uniform_int_distribution<int>(0, 255)(random));
        EXPECT_FALSE(readOrRefuse(text)) << text;
    }
}

TEST(QelXyRegionTextTest, AStreamThatFailedIsRefusedAtOnce) {
    std::istringstream in(wholeText);
    in.setstate(std::ios_base::failbit);
    Pointer region;
    expectRaises(QelErrorCode::invalidValue, "Class  is not registered as an QelXyRegion.",
                 [&] { in >> region; });
}

TEST(QelXyRegionTextTest, ReadingKnowsNoLocale) {
    GroupedLocale const scope;
    std::string const text =
        "QelXySimpleRegion[QelXyCoordSpace[w=12345.5 inches,h=2000 inches], QelXyBox[x=1000.5 "
        "inches, y=1 inches, w=2000 inches, h=1000 inches]]";
    std::istringstream in(text);
    in.imbue(GroupedLocale::grouped());
    Pointer region;
    in >> region;
    EXPECT_EQ(12345.5, region->coordSpace()->dimension(0).width().value());
    EXPECT_EQ(1000.5, region->box()->xMin().value());
    EXPECT_EQ(2000.0, region->box()->width().value());
}

TEST(QelXyRegionTextTest, ValuesAreWrittenInTheStreamsOwnFormat) {
    std::ostringstream text;
    text.imbue(GroupedLocale::grouped());
    MoxSmartPtr<LooseRegion> const region(new LooseRegion);
    region->reset(nullptr, boxIn(QEL_UNIT_INCH, 1000.5, 0.0, 2000.0, 1.0));
    text << Pointer(region.get());
    EXPECT_EQ(
        "QelXySimpleRegion[NULL, QelXyBox[x=1.000,5 inches, y=0 inches, w=2.000 inches, h=1 "
        "inch]]",
        text.str());
}
