#include <cmath>
#include <cstring>
#include <limits>

#include "DiagonalOrg.h"
#include "RigidDataOrg.h"
#include "StatisticsReference.h"

namespace {

using Statistics = std::vector<BandStatistics>;

Statistics statisticsOf(TestImage const & shape, PixelFunction const & pixels) {
    Qel2DImage image(new GradientOp(shape, pixels));
    return bandStatistics(image, image.imageRect());
}

void expectStatistics(double min, double max, double mean, double deviation,
                      BandStatistics const & found) {
    EXPECT_EQ(min, found.minimum);
    EXPECT_EQ(max, found.maximum);
    EXPECT_DOUBLE_EQ(mean, found.mean);
    EXPECT_DOUBLE_EQ(deviation, found.standardDeviation);
}

TEST(BandStatisticsTest, AreThoseOfASlowReferenceInEveryTypeLayoutAndRegion) {
    Random random(20261121);
    for (QelDataType const & type : numberTypes()) {
        for (int round = 0; round < 12; ++round) {
            TestImage shape{.width = random.between(1, 90), .height = random.between(1, 70)};
            shape.bands = random.between(1, 5);
            shape.type = type;
            std::int32_t const side = random.between(8, 64);
            shape.org = random.org(side, random.between(8, 64), type, shape.bands);
            MoxSmartPtr<QelRectBuffer> const pixels =
                randomPicture(random, shape.width, shape.height, shape.bands, type);
            Qel2DImage image(new GradientOp(shape, pixelsOf(*pixels)));
            QelRect const region = random.rectIn(image.imageRect());
            Statistics const found = bandStatistics(image, region);
            ASSERT_EQ(static_cast<std::size_t>(shape.bands), found.size());
            for (int band = 0; band < shape.bands; ++band) {
                BandStatistics const expected = plainly(*pixels, region, band);
                BandStatistics const & one = found[static_cast<std::size_t>(band)];
                SCOPED_TRACE(testing::Message() << type.name() << " round " << round << " band "
                                                << band << " region " << region);
                EXPECT_EQ(expected.minimum, one.minimum);
                EXPECT_EQ(expected.maximum, one.maximum);
                double const close =
                    1e-13 * std::max(std::fabs(one.minimum), std::fabs(one.maximum));
                EXPECT_NEAR(expected.mean, one.mean, close);
                EXPECT_NEAR(expected.standardDeviation, one.standardDeviation, close);
            }
        }
    }
}

TEST(BandStatisticsTest, OnePixelHasNoDeviation) {
    for (QelDataType const & type : numberTypes()) {
        Statistics const found = statisticsOf({.width = 1, .height = 1, .bands = 1, .type = type},
                                              [](auto, auto, int) { return 100; });
        expectStatistics(100, 100, 100, 0, found.at(0));
    }
}

TEST(BandStatisticsTest, AFlatPictureHasExactlyItsValueAndNoDeviation) {
    for (double const value : {-32768.0, -1.0, 0.0, 32767.0}) {
        Statistics const found =
            statisticsOf({.width = 333, .height = 222, .bands = 1, .type = QelDataType::Short},
                         [=](auto, auto, int) { return value; });
        EXPECT_EQ(value, found.at(0).mean);
        EXPECT_EQ(0.0, found.at(0).standardDeviation);
    }
}

// The sum of the squares is 4e16 here: in a double it would be off by a few units, and the small
// deviation lost.
TEST(BandStatisticsTest, OneOfMillionsThatDiffersByOneShows) {
    constexpr std::int32_t side = 3000;
    MoxSmartPtr<QelRectBuffer> const pixels =
        new QelRectBuffer(side, side, 1, PIXEL_INTERLEAVED, QelDataType::UShort);
    pixels->allocate();
    std::memset(pixels->getData(), 0xFF, std::size_t{2} * side * side);
    setElement(*pixels, 1234, 2345, 0, 65534);
    Qel2DImage image(new PictureOp(pixels));
    BandStatistics const found = bandStatistics(image, image.imageRect()).at(0);
    double const share = 1.0 / (double{side} * side);
    expectStatistics(65534, 65535, 65535 - share, std::sqrt(share * (1 - share)), found);
}

TEST(BandStatisticsTest, HalfAndHalfOfTheExtremesLieFarthestFromTheMean) {
    struct Row {
        QelDataType::Code type;
        double min;
        double max;
    };
    for (Row const & row :
         {Row{QelDataType::UChar, 0, 255}, Row{QelDataType::Char, -128, 127},
          Row{QelDataType::UShort, 0, 65535}, Row{QelDataType::Short, -32768, 32767},
          Row{QelDataType::ULong, 0, 4294967295.0},
          Row{QelDataType::Long, -2147483648.0, 2147483647}, Row{QelDataType::Float, -0.5, 2.25},
          Row{QelDataType::Double, -0.5, 2.25}}) {
        SCOPED_TRACE(QelDataType(row.type).name());
        Statistics const found =
            statisticsOf({.width = 40, .height = 30, .bands = 1, .type = row.type},
                         [&](std::int32_t x, auto, int) { return x % 2 == 0 ? row.min : row.max; });
        EXPECT_EQ(row.min, found.at(0).minimum);
        EXPECT_EQ(row.max, found.at(0).maximum);
        double const range = row.max - row.min;
        EXPECT_NEAR((row.min + row.max) / 2, found.at(0).mean, range * 1e-14);
        EXPECT_NEAR(range / 2, found.at(0).standardDeviation, range * 1e-14);
    }
}

TEST(BandStatisticsTest, ANanLeavesTheOthersExtremesAndNoMean) {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    Statistics const found =
        statisticsOf({.width = 5, .height = 5, .bands = 3, .type = QelDataType::Float},
                     [](std::int32_t x, std::int32_t y, int band) {
                         if (band == 2) return nan;
                         return band == 1 && x == y ? nan : 5.0 * y + x;
                     });
    expectStatistics(0, 24, 12, std::sqrt(52.0), found.at(0));
    EXPECT_EQ(1, found.at(1).minimum);
    EXPECT_EQ(23, found.at(1).maximum);
    EXPECT_TRUE(std::isnan(found.at(1).mean));
    EXPECT_TRUE(std::isnan(found.at(1).standardDeviation));
    EXPECT_TRUE(std::isnan(found.at(2).minimum));
    EXPECT_TRUE(std::isnan(found.at(2).maximum));
}

TEST(BandStatisticsTest, ComputesEachTileOnceAndOnlyThoseOfTheRegion) {
    Qel2DImage image(new QelTestCardOp(1000, 700));
    bandStatistics(image, QelRect(120, 130, 200, 20));
    EXPECT_EQ(3, image.statistics().tilesComputed);
    Qel2DImage all(new QelTestCardOp(1000, 700));
    bandStatistics(all, all.imageRect());
    EXPECT_EQ(8 * 6, all.statistics().tilesComputed);
}

TEST(BandStatisticsTest, HoldsOneTileAtATime) {
    Qel2DImage image(new QelTestCardOp(3000, 2000));
    ScopedSetting<std::int64_t> const peak(QelSystemConfig::peakBytes,
                                           QelSystemConfig::currentBytes);
    std::int64_t const before = QelSystemConfig::currentBytes;
    bandStatistics(image, image.imageRect());
    EXPECT_GE(2 * 128 * 128 * 3, QelSystemConfig::peakBytes - before);
}

TEST(BandStatisticsTest, RefusesRegionsThatAreEmptyOrOutside) {
    Qel2DImage image(new GradientOp({.width = 30, .height = 20}));
    for (QelRect const & region :
         {QelRect(), QelRect(0, 0, 31, 1), QelRect(-1, 0, 2, 2), QelRect(0, 19, 1, 2),
          QelRect(30, 0, 1, 1), QelRect(2147483647, 0, 2147483647, 1)}) {
        std::ostringstream text;
        text << "The region " << region << " does not lie in the image, which is (0,0,30,20)";
        expectRaises(QelErrorCode::invalidValue, text.str(),
                     [&] { bandStatistics(image, region); });
    }
    EXPECT_EQ(0, image.statistics().tilesComputed);
}

TEST(BandStatisticsTest, RefusesBandsOfSeveralTypes) {
    MoxSmartPtr<QelDataOrg> const org =
        new RigidDataOrg(16, 16, {QelDataType::UChar, QelDataType::Float});
    Qel2DImage image(new GradientOp({.width = 16, .height = 16, .org = org}));
    expectRaises(QelErrorCode::unsupportedDataType,
                 "The data type QelDataType::MixedClass is not a supported data type in "
                 "bandStatistics()",
                 [&] { bandStatistics(image, image.imageRect()); });
}

TEST(BandStatisticsTest, RefusesOrganisationsOfAnotherKind) {
    MoxSmartPtr<QelDataOrg> const org = new DiagonalOrg(16, 16);
    Qel2DImage image(new GradientOp({.width = 16, .height = 16, .org = org}));
    expectRaises(QelErrorCode::simpleDataOrgNeeded,
                 "The data organization of an image used in a QelRectConstIter is not a "
                 "QelSimpleDataOrg",
                 [&] { bandStatistics(image, image.imageRect()); });
}

TEST(BandStatisticsTest, ErrorsOfTheImagePassThrough) {
    Qel2DImage image(
        new GradientOp({.width = 300, .height = 20}, [](std::int32_t x, auto, int) -> double {
            if (x == 299) qelRaise(77, "no more pixels");
            return 1;
        }));
    expectRaises(77, "no more pixels", [&] { bandStatistics(image, image.imageRect()); });
}

}  // namespace
