#include <cmath>
#include <iterator>
#include <vector>

#include <gtest/gtest.h>

#include "RegionTesting.h"
#include "SpaceTesting.h"

// Pixels that a region is given, read in another unit and read in pixels again, are the same
// pixels.

namespace {

constexpr int inch = QEL_UNIT_INCH;
int const lengths[] = {QEL_UNIT_METER, QEL_UNIT_MILLIMETER, QEL_UNIT_CENTIMETER, QEL_UNIT_POINT,
                       inch};

using Space = MoxSmartPtr<QelXyCoordSpace>;

// The units that convert to each other in a space.
std::vector<int> unitsOf(QelXyCoordSpace const & space) {
    std::vector<int> units{QEL_UNIT_WIDTH_RELATIVE, QEL_UNIT_HEIGHT_RELATIVE, QEL_UNIT_NORMALIZED};
    if (space.isPixelBased()) return units;
    units.push_back(space.unit());
    if (space.unit() == QEL_UNIT_ARBITRARY) return units;
    units.insert(units.end(), std::begin(lengths), std::end(lengths));
    return units;
}

// All units. Arbitrary ones have the number that there is in the unit before, so that they lead no
// further; in a pixel based space they are clipped to the number of the last pixel.
std::vector<int> allUnitsOf(QelXyCoordSpace const & space) {
    std::vector<int> units = unitsOf(space);
    if (space.isPixelBased()) return units;
    units.push_back(QEL_UNIT_ARBITRARY);
    units.insert(units.end(), std::begin(lengths), std::end(lengths));
    return units;
}

QelXySimpleRegion regionIn(QelXyCoordSpace const & space, QelRect const & rect) {
    return {&space, rect.x, rect.y, rect.width, rect.height};
}

// From unit to unit, each time as a region of its own.
QelRect throughEveryUnit(QelXyCoordSpace const & space, QelRect const & rect) {
    QelXySimpleRegion region = regionIn(space, rect);
    for (int const unit : unitsOf(space)) {
        QelXySimpleRegion const next(&space, region.xRange(unit), region.yRange(unit));
        region = next;
    }
    return region.pixelBounds();
}

void expectComesBack(QelXyCoordSpace const & space, QelRect const & rect) {
    QelXySimpleRegion const region = regionIn(space, rect);
    ASSERT_EQ(rect, region.pixelBounds());
    for (int const unit : allUnitsOf(space)) {
        QelXySimpleRegion const there(&space, *region.boundingBox(unit));
        ASSERT_EQ(rect, there.pixelBounds()) << rect << " in unit " << unit << " of " << space;
    }
    ASSERT_EQ(rect, throughEveryUnit(space, rect)) << space;
    QelXySimpleRegion moved(region);
    moved.setCoordSpace(Space(space.cloneXy()));
    ASSERT_EQ(space.unit(), moved.box()->range(0).unit());
    ASSERT_EQ(rect, moved.pixelBounds()) << rect << " in a space like " << space;
}

// How many dots there are to an extent: any number of them, or whole ones, or all but half a dot
// more or less.
double randomDots(RandomNumbers & random, double most) {
    double const dots = random.magnitude(1.0, most);
    switch (random.whole(0, 4)) {
        case 0: return std::floor(dots);
        case 1: return std::floor(dots) + 0.5;
        case 2: return std::floor(dots) + 0.5 - random.magnitude(1e-12, 1e-3);
        case 3: return std::floor(dots) + 0.5 + random.magnitude(1e-12, 1e-3);
        default: return dots;
    }
}

void selectRandomly(QelXyCoordSpace & space, RandomNumbers & random, double mostDots) {
    auto const dpu = [&](QelValue const & extent) {
        return QelResolution(randomDots(random, mostDots) / extent.value(), extent.unit());
    };
    unsigned const rows = random.whole(1U, 3U);
    for (unsigned i = 0; i < rows; ++i)
        space.addResolution({dpu(space.width()), dpu(space.height())});
    if (random.oneIn(4)) space.addResolution(QelXyCoordSpace::Resolution());
    QelXyCoordSpace::Resolution const row = space.getResolution(random.whole(0U, rows - 1));
    space.selectResolution(row.horz.pixels, row.vert.pixels);
}

Space randomSpace(RandomNumbers & random, double mostDots) {
    if (random.oneIn(6)) {
        unsigned const most = static_cast<unsigned>(mostDots);
        return pixelSpace(random.whole(1U, most), random.whole(1U, most));
    }
    int const unit = random.oneIn(8) ? QEL_UNIT_ARBITRARY : random.of(lengths);
    Space const space =
        physicalSpace(random.magnitude(0.1, 100.0), random.magnitude(0.1, 100.0), unit);
    for (unsigned axis = 0; axis < 2; ++axis)
        space->setOrigin(axis, QelValue(random.oneIn(2) ? 0.0 : random.real(-100.0, 100.0), unit));
    selectRandomly(*space, random, mostDots);
    if (random.oneIn(4)) space->scaleXY(-1.5, random.oneIn(2));
    return space;
}

struct Part {
    int first;
    int count;
};

// Often to the last pixel, now and then none.
Part randomPart(RandomNumbers & random, std::uint32_t pixels) {
    int const first = random.whole(0, static_cast<int>(pixels) - 1);
    int const most = static_cast<int>(pixels) - first;
    return {first, random.oneIn(3) ? most : random.whole(0, most)};
}

}  // namespace

TEST(QelXyRegionRoundTripTest, RandomPixelsOfRandomSpaces) {
    RandomNumbers random(31001);
    for (int i = 0; i < 1500 && !testing::Test::HasFatalFailure(); ++i) {
        Space const space = randomSpace(random, 20000.0);
        for (int j = 0; j < 5; ++j) {
            Part const x = randomPart(random, space->numPixelsWide());
            Part const y = randomPart(random, space->numPixelsHigh());
            SCOPED_TRACE(testing::Message() << i << ", " << j);
            expectComesBack(*space, {x.first, y.first, x.count, y.count});
        }
    }
}

TEST(QelXyRegionRoundTripTest, EveryRectangleOfSmallSpaces) {
    RandomNumbers random(31002);
    for (int i = 0; i < 60 && !testing::Test::HasFatalFailure(); ++i) {
        Space const space = randomSpace(random, 6.0);
        int const wide = static_cast<int>(space->numPixelsWide());
        int const high = static_cast<int>(space->numPixelsHigh());
        for (int x = 0; x < wide; ++x) {
            for (int count = 0; count <= wide - x; ++count) {
                int const y = random.whole(0, high - 1);
                expectComesBack(*space, {x, y, count, random.whole(0, high - y)});
            }
        }
    }
}

// ---- By hand

TEST(QelXyRegionRoundTripTest, PixelsStartAtTheNearEdgeOfTheFirst) {
    Space const space = sampledSpace(8.0, 4.0, 800, 400);
    QelXySimpleRegion const region = regionIn(*space, {10, 20, 30, 40});
    expectRange(continuous(0.1, 0.3, inch), region.xRange(inch));
    expectRange(continuous(0.2, 0.4, inch), region.yRange(inch));
    expectRange(continuous(0.254, 0.762, QEL_UNIT_CENTIMETER), region.xRange(QEL_UNIT_CENTIMETER));
    expectRange(continuous(0.0125, 0.0375, QEL_UNIT_NORMALIZED),
                region.xRange(QEL_UNIT_NORMALIZED));
    // A conversion of the space itself goes by the flag that it is given.
    expectRange(continuous(0.105, 0.3, inch),
                space->convertHorzRange(wholePixels(10, 30), inch, true));
}

TEST(QelXyRegionRoundTripTest, PixelsToTheLastCoverTheExtent) {
    Space const space = physicalSpace(10.05, 10.05);
    space->addResolution({QelResolution(10.0, inch), QelResolution(10.0, inch)});
    space->selectResolution(space->getResolution(0));
    int const samples = static_cast<int>(space->numPixelsWide());
    QelXySimpleRegion const region = regionIn(*space, {90, 0, samples - 90, samples});
    expectRange(continuous(9.0, 10.05 - 9.0, inch), region.xRange(inch));
    expectRange(continuous(0.0, 10.05, inch), region.yRange(inch));
}

// Half a dot behind the third pixel is a fourth one, which three pixels do not have.
TEST(QelXyRegionRoundTripTest, OnlyTheLastPixelReachesTheEnd) {
    Space const space = physicalSpace(3.5, 3.5);
    space->addResolution({QelResolution(1.0, inch), QelResolution(1.0, inch)});
    space->selectResolution(4, 4);
    QelXySimpleRegion const region = regionIn(*space, {0, 1, 3, 3});
    expectRange(continuous(0.0, 3.0, inch), region.xRange(inch));
    expectRange(continuous(1.0, 2.5, inch), region.yRange(inch));
    EXPECT_EQ(QelRect(0, 1, 3, 3), throughEveryUnit(*space, {0, 1, 3, 3}));
}

TEST(QelXyRegionRoundTripTest, PolygonAndMappingGoByTheNearEdge) {
    Space const space = sampledSpace(8.0, 4.0, 800, 400);
    QelXySimpleRegion region = regionIn(*space, {100, 100, 200, 300});
    using Points = std::vector<QelPolygon::Point>;
    EXPECT_EQ(Points({{0.125, 0.25}, {0.375, 0.25}, {0.375, 1.0}, {0.125, 1.0}}),
              region.polygon(1.0, 1.0)->points());
    region.setCoordSpace(pixelSpace(80, 40));
    expectBox(pixelBoxAt(10, 10, 20, 30), region);
}
