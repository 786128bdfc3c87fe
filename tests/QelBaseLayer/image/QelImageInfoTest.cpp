#include "QelImageInfo.h"

#include <functional>
#include <iostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelError.h"
#include "QelSimpleDataOrg.h"
#include "QelSystemConfig.h"
#include "RigidDataOrg.h"
#include "ScopedSetting.h"

namespace {

MoxSmartPtr<QelDataOrg> simpleOrg(std::int32_t width, std::int32_t height, QelDataType type,
                                  int bands, QelLayout layout) {
    return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(width, height, type, bands, layout));
}

MoxSmartPtr<QelDataOrg> spelledOrg(std::int32_t width, std::int32_t height,
                                   std::vector<std::int32_t> const & offsets,
                                   std::int32_t pixelStride, std::int32_t lineStride) {
    return MoxSmartPtr<QelDataOrg>(new QelSimpleDataOrg(width, height, QelDataType::UChar,
                                                        static_cast<int>(offsets.size()), offsets,
                                                        pixelStride, lineStride));
}

MoxSmartPtr<QelDataOrg> rigidOrg() {
    return MoxSmartPtr<QelDataOrg>(new RigidDataOrg(16, 16, {QelDataType::UChar}));
}

QelImageInfo infoWith(MoxSmartPtr<QelDataOrg> org) {
    QelImageInfo info;
    info.setDataOrg(std::move(org));
    return info;
}

// What every change but the one under test leaves alone.
void expectOrg(QelImageInfo const & info, QelRect const & tile, int bands, QelDataType type,
               QelLayout layout) {
    EXPECT_EQ(tile, info.tileRect());
    EXPECT_EQ(bands, info.numBands());
    EXPECT_EQ(type, info.precision());
    EXPECT_EQ(layout, info.layout());
}

}  // namespace

TEST(QelImageInfoTest, StartsGoodNotComputedAndEmpty) {
    QelImageInfo const info;

    EXPECT_EQ(0, info.status().getErrcode());
    EXPECT_STREQ("", info.status().getComponent());
    EXPECT_STREQ(" error 0", info.status().getMsg());
    EXPECT_NE(std::string::npos, std::string(info.status().getFile()).find("QelImageInfo.h"));
    EXPECT_LT(0, info.status().getLine());
    EXPECT_FALSE(info.computed());
    EXPECT_EQ(0, info.width());
    EXPECT_EQ(0, info.height());
}

TEST(QelImageInfoTest, KeepsTheSizeItIsGiven) {
    QelImageInfo info(640, 480);
    EXPECT_EQ(640, info.width());
    EXPECT_EQ(480, info.height());

    info.setWidth(7);
    info.setHeight(-8);
    EXPECT_EQ(7, info.width());
    EXPECT_EQ(-8, info.height());

    info.setSize(1, 2);
    EXPECT_EQ(1, info.width());
    EXPECT_EQ(2, info.height());
}

TEST(QelImageInfoTest, KeepsTheStatusItIsGiven) {
    QelImageInfo info;
    info.setStatus(QelError(7, "Bad index", "somewhere.cpp", 3));

    expectQelError(info.status(), QelErrorCode::outOfRange, "Bad index");
}

TEST(QelImageInfoTest, MakesTheDefaultOrganisationWhenAsked) {
    ScopedSetting const width(QelSystemConfig::defaultTileWidth, 40);
    ScopedSetting const height(QelSystemConfig::defaultTileHeight, 30);
    QelImageInfo const info;

    expectOrg(info, QelRect(0, 0, 40, 30), 1, QelDataType::UChar, PIXEL_INTERLEAVED);
    EXPECT_EQ(info.dataOrg().get(), info.dataOrg().get());
}

TEST(QelImageInfoTest, SetNumBandsWithoutOrganisationMakesThatManyOfUChar) {
    QelImageInfo info;
    info.setNumBands(5);
    expectOrg(info, QelRect(0, 0, 128, 128), 5, QelDataType::UChar, PIXEL_INTERLEAVED);
}

TEST(QelImageInfoTest, SetPrecisionWithoutOrganisationMakesThreeBands) {
    QelImageInfo info;
    info.setPrecision(QelDataType::Float);
    expectOrg(info, QelRect(0, 0, 128, 128), 3, QelDataType::Float, PIXEL_INTERLEAVED);
}

TEST(QelImageInfoTest, EachSetterChangesOneThing) {
    QelImageInfo info = infoWith(simpleOrg(32, 16, QelDataType::Short, 4, LINE_INTERLEAVED));

    info.setNumBands(2);
    expectOrg(info, QelRect(0, 0, 32, 16), 2, QelDataType::Short, LINE_INTERLEAVED);
    info.setPrecision(QelDataType::Double);
    expectOrg(info, QelRect(0, 0, 32, 16), 2, QelDataType::Double, LINE_INTERLEAVED);
    info.setTileSize(8, 9);
    expectOrg(info, QelRect(0, 0, 8, 9), 2, QelDataType::Double, LINE_INTERLEAVED);
    info.setOrigin(-5, 6);
    expectOrg(info, QelRect(-5, 6, 8, 9), 2, QelDataType::Double, LINE_INTERLEAVED);
    info.setLayout(BAND_INTERLEAVED);
    expectOrg(info, QelRect(-5, 6, 8, 9), 2, QelDataType::Double, BAND_INTERLEAVED);
    info.setTileRect(QelRect(1, 2, 3, 4));
    expectOrg(info, QelRect(1, 2, 3, 4), 2, QelDataType::Double, BAND_INTERLEAVED);
}

TEST(QelImageInfoTest, SettersOfGeometryStartFromTheDefaultOrganisation) {
    QelImageInfo sized;
    sized.setTileSize(10, 20);
    expectOrg(sized, QelRect(0, 0, 10, 20), 1, QelDataType::UChar, PIXEL_INTERLEAVED);

    QelImageInfo placed;
    placed.setOrigin(3, 4);
    expectOrg(placed, QelRect(3, 4, 128, 128), 1, QelDataType::UChar, PIXEL_INTERLEAVED);

    QelImageInfo laidOut;
    laidOut.setLayout(LINE_INTERLEAVED);
    expectOrg(laidOut, QelRect(0, 0, 128, 128), 1, QelDataType::UChar, LINE_INTERLEAVED);
}

TEST(QelImageInfoTest, AnOrganisationOfAnotherClassIsSpelledOut) {
    EXPECT_EQ(SPELLED_OUT, infoWith(rigidOrg()).layout());
}

TEST(QelImageInfoTest, AssignmentClonesTheOrganisationAndCopiesTheRest) {
    QelImageInfo source(640, 480);
    source.setDataOrg(simpleOrg(32, 16, QelDataType::Short, 4, LINE_INTERLEAVED));
    source.setOrigin(7, 8);
    source.setStatus(QelError(7, "Bad index", "somewhere.cpp", 3));
    source.setComputed(true);

    QelImageInfo assigned;
    assigned = source;
    QelImageInfo const copied(source);

    for (QelImageInfo const * target : {&copied, const_cast<QelImageInfo const *>(&assigned)}) {
        EXPECT_NE(source.dataOrg().get(), target->dataOrg().get());
        expectOrg(*target, QelRect(7, 8, 32, 16), 4, QelDataType::Short, LINE_INTERLEAVED);
        expectQelError(target->status(), QelErrorCode::outOfRange, "Bad index");
        EXPECT_TRUE(target->computed());
        EXPECT_EQ(640, target->width());
        EXPECT_EQ(480, target->height());
    }
}

TEST(QelImageInfoTest, CopiesOfAReportWithoutOrganisationHaveNone) {
    QelImageInfo const source(1, 1);
    QelImageInfo copied(source);
    QelImageInfo assigned = infoWith(rigidOrg());
    assigned = source;

    // Three bands come only where there was no organisation.
    copied.setPrecision(QelDataType::Float);
    assigned.setPrecision(QelDataType::Float);
    EXPECT_EQ(3, copied.numBands());
    EXPECT_EQ(3, assigned.numBands());
}

TEST(QelImageInfoTest, AssignmentToItselfKeepsTheOrganisation) {
    QelImageInfo info = infoWith(rigidOrg());
    QelDataOrg const * const before = info.dataOrg();
    QelImageInfo const & same = info;
    info = same;
    EXPECT_EQ(before, info.dataOrg().get());
}

TEST(QelImageInfoTest, RefusesWhatTheOrganisationCannotBecome) {
    struct Row {
        char const * what;
        std::function<void(QelImageInfo &)> change;
    };
    Row const rows[] = {
        {"number of bands", [](QelImageInfo & info) { info.setNumBands(2); }},
        {"element type", [](QelImageInfo & info) { info.setPrecision(QelDataType::Float); }},
        {"tile size", [](QelImageInfo & info) { info.setTileSize(1, 1); }},
        {"tile size", [](QelImageInfo & info) { info.setTileRect(QelRect(5, 6, 7, 8)); }},
    };
    for (Row const & row : rows) {
        SCOPED_TRACE(row.what);
        QelImageInfo info = infoWith(rigidOrg());
        QelDataOrg const * const before = info.dataOrg();

        expectRaises(
            QelErrorCode::unsupported,
            std::string("The data organization RigidDataOrg cannot take another ") + row.what,
            [&] { row.change(info); });
        EXPECT_EQ(before, info.dataOrg().get());
    }
}

TEST(QelImageInfoTest, RefusesALayoutForAnOrganisationOfAnotherClass) {
    QelImageInfo info = infoWith(rigidOrg());
    QelDataOrg const * const before = info.dataOrg();

    expectRaises(QelErrorCode::invalidDataOrg,
                 "Invalid data organization: a layout can only be set on a QelSimpleDataOrg",
                 [&] { info.setLayout(BAND_INTERLEAVED); });
    EXPECT_EQ(before, info.dataOrg().get());
}

TEST(QelImageInfoTest, AValueThatTheOrganisationRefusesChangesNothing) {
    QelImageInfo info;
    EXPECT_EQ(QelErrorCode::invalidValue, errorOf([&] { info.setNumBands(-1); })->getErrcode());
    EXPECT_EQ(QelErrorCode::invalidValue,
              errorOf([&] { info.setTileRect(QelRect(5, 6, -7, 8)); })->getErrcode());
    expectOrg(info, QelRect(0, 0, 128, 128), 1, QelDataType::UChar, PIXEL_INTERLEAVED);
}

TEST(QelImageInfoTest, SameSizeComparesTheTileWithTheImage) {
    QelImageInfo const info(32, 16);
    EXPECT_TRUE(info.sameSize(simpleOrg(32, 16, QelDataType::UChar, 1, PIXEL_INTERLEAVED)));
    EXPECT_FALSE(info.sameSize(simpleOrg(31, 16, QelDataType::UChar, 1, PIXEL_INTERLEAVED)));
    EXPECT_FALSE(info.sameSize(simpleOrg(32, 17, QelDataType::UChar, 1, PIXEL_INTERLEAVED)));
    EXPECT_FALSE(info.sameSize(nullptr));
}

TEST(QelImageInfoTest, IsDenseTellsGapsBetweenLinesAndBands) {
    struct Row {
        char const * name;
        MoxSmartPtr<QelDataOrg> org;
        bool dense;
    };
    Row const rows[] = {
        {"null", nullptr, false},
        {"another class", rigidOrg(), false},
        {"no bands", spelledOrg(4, 3, {}, 1, 4), true},
        {"one band", spelledOrg(4, 3, {0}, 1, 4), true},
        {"one band, padded lines", spelledOrg(4, 3, {0}, 1, 5), false},
        {"one band, gaps in the line", spelledOrg(4, 3, {0}, 2, 8), true},
        {"one band, bottom up", spelledOrg(4, 3, {0}, 1, -4), false},
        {"two bands side by side", spelledOrg(4, 3, {0, 1}, 2, 8), true},
        {"two bands far apart", spelledOrg(4, 3, {0, 99}, 1, 4), true},
        {"two bands, padded lines", spelledOrg(4, 3, {0, 15}, 1, 5), false},
        {"three planes", spelledOrg(4, 3, {0, 12, 24}, 1, 4), true},
        {"three planes, gaps between", spelledOrg(4, 3, {0, 13, 26}, 1, 4), false},
        {"three planes, the last astray", spelledOrg(4, 3, {0, 12, 25}, 1, 4), false},
        {"three planes, reversed", spelledOrg(4, 3, {24, 12, 0}, 1, 4), false},
        {"three bands, interleaved", spelledOrg(4, 3, {0, 1, 2}, 3, 12), false},
    };
    QelImageInfo const info(4, 3);
    for (Row const & row : rows)
        EXPECT_EQ(row.dense, info.isDense(row.org)) << row.name;
}

TEST(QelImageInfoTest, IsDenseAgreesWithWalkingThroughTheMemory) {
    unsigned const seed = 20260;
    std::cout << "seed " << seed << '\n';
    std::mt19937 random(seed);
    auto const pick = [&](int low, int high) {
        return std::uniform_int_distribution<int>(low, high)(random);
    };
    QelImageInfo const info;
    int dense = 0;
    for (int round = 0; round < 4000; ++round) {
        int const width = pick(1, 3);
        int const height = pick(1, 3);
        int const bands = pick(1, 4);
        int const pixel = pick(-1, 2);
        int const line = pixel * width + (pick(0, 3) == 0 ? pick(-2, 2) : 0);
        int const plane = line * height + (pick(0, 3) == 0 ? pick(-2, 2) : 0);
        std::vector<std::int32_t> offsets;
        for (int band = 0; band < bands; ++band)
            offsets.push_back(band * plane);
        if (pick(0, 5) == 0) offsets.back() += pick(-1, 1);
        MoxSmartPtr<QelDataOrg> const org = spelledOrg(width, height, offsets, pixel, line);

        // Each line ends where the next begins, and each plane where the next band's does.
        bool expected = org->offset(width, 0) == org->offset(0, 1);
        for (int band = 1; bands >= 3 && band < bands; ++band) {
            expected = expected && org->offset(0, height, band - 1) == org->offset(0, 0, band);
        }
        dense += expected ? 1 : 0;
        ASSERT_EQ(expected, info.isDense(org)) << "round " << round;
    }
    EXPECT_LT(500, dense);
    EXPECT_GT(3500, dense);
}

TEST(QelImageInfoTest, AcceptsWhatHasAsManyBandsOfTheSameType) {
    struct Row {
        char const * name;
        MoxSmartPtr<QelDataOrg> org;
        bool accepted;
    };
    Row const rows[] = {
        {"null", nullptr, false},
        {"the same", simpleOrg(8, 8, QelDataType::Short, 3, PIXEL_INTERLEAVED), true},
        {"another tile size", simpleOrg(9, 7, QelDataType::Short, 3, PIXEL_INTERLEAVED), true},
        {"another layout", simpleOrg(8, 8, QelDataType::Short, 3, BAND_INTERLEAVED), true},
        {"another type", simpleOrg(8, 8, QelDataType::UShort, 3, PIXEL_INTERLEAVED), false},
        {"fewer bands", simpleOrg(8, 8, QelDataType::Short, 2, PIXEL_INTERLEAVED), false},
        {"more bands", simpleOrg(8, 8, QelDataType::Short, 4, PIXEL_INTERLEAVED), false},
        {"another class",
         MoxSmartPtr<QelDataOrg>(
             new RigidDataOrg(8, 8, std::vector<QelDataType>(3, QelDataType::Short))),
         false},
    };
    QelImageInfo const info = infoWith(simpleOrg(8, 8, QelDataType::Short, 3, PIXEL_INTERLEAVED));
    for (Row const & row : rows)
        EXPECT_EQ(row.accepted, info.acceptsDataOrg(row.org)) << row.name;
}

TEST(QelImageInfoTest, AcceptsAnOrganisationOfAnotherClassThatSaysItIsCompatible) {
    class FriendlyOrg : public RigidDataOrg {
      public:
        using RigidDataOrg::RigidDataOrg;
        bool isCompatible(QelDataOrg const &, bool) const override { return true; }
    };
    MoxSmartPtr<QelDataOrg> const friendly(new FriendlyOrg(8, 8, {QelDataType::UChar}));
    EXPECT_TRUE(QelImageInfo().acceptsDataOrg(friendly));
}
