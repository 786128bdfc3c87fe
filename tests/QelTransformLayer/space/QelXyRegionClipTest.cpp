#include <algorithm>
#include <cmath>
#include <iostream>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "RegionTesting.h"

// Clipping against a model that works with nothing but numbers: intervals, and for pixels the set
// of their numbers.

namespace {

constexpr double maximum = 1.7976931348623157e308;
constexpr int W = QEL_UNIT_WIDTH_RELATIVE;
constexpr int H = QEL_UNIT_HEIGHT_RELATIVE;
constexpr int N = QEL_UNIT_NORMALIZED;
constexpr int P = QEL_UNIT_PIXEL;
constexpr int inch = QEL_UNIT_INCH;
constexpr int cm = QEL_UNIT_CENTIMETER;
constexpr int any = QEL_UNIT_ARBITRARY;
constexpr int second = QEL_UNIT_SECOND;

// What the model knows of a space.
struct SpaceFacts {
    int unit;
    double origin[2];
    double extent[2];
    unsigned selected[2];  // 0 without a selection
};

struct Problem {
    int code = 0;
    std::string text;
};

struct Legal {
    double from = 0.0;
    double to = 0.0;
    Problem problem;
    bool exact = true;  // up to the last digit
};

Legal refused(int code, std::string const & text) {
    return {0.0, 0.0, {code, text}};
}

// How many of `to` one of `from` is; nothing where they do not convert.
std::optional<double> ratioOf(int from, int to) {
    if (from == to || from == any || to == any) return 1.0;
    if (from == inch && to == cm) return 2.54;
    if (from == cm && to == inch) return 1.0 / 2.54;
    return std::nullopt;
}

std::string named(int unit) {
    QelUnitInfo const & info = QelValue::getUnitInfo(unit);
    return info.pluralName + " (id = " + std::to_string(unit) + ")";
}

// Where along an axis a box in `unit` may be: a table, row by row.
Legal legalOn(SpaceFacts const & space, int axis, int unit) {
    double const start = space.origin[axis];
    double const end = start + space.extent[axis];
    if (unit == P) {
        if (space.selected[axis] == 0)
            return refused(QelErrorCode::noSelectedResolution, pixelRefusal);
        return {0.0, space.selected[axis] - 1.0, {}};
    }
    if ((axis == 0 && unit == W) || (axis == 1 && unit == H) || unit == N) return {0.0, 1.0, {}};
    if (axis == 0 && unit == H) {
        if (space.unit == H) return {0.0, maximum, {}};
        if (space.unit == W || space.unit == N)
            return refused(QelErrorCode::cannotConvertUnit, relativeRefusal);
        return {0.0, space.extent[0] / space.extent[1], {}, false};
    }
    if (axis == 1 && unit == W) {
        if (space.unit == W) return {0.0, maximum, {}};
        if (space.unit == H || space.unit == N)
            return refused(QelErrorCode::cannotConvertUnit, relativeRefusal);
        return {0.0, space.extent[1] / space.extent[0], {}, false};
    }
    if (unit == space.unit || unit == any) {
        bool const endless = (axis == 0 && space.unit == H) || (axis == 1 && space.unit == W);
        if (endless) return {start, maximum, {}};
        return {start, space.unit == P ? end - 1.0 : end, {}};
    }
    std::optional<double> const ratio = ratioOf(space.unit, unit);
    if (!ratio) {
        return refused(QelErrorCode::cannotConvertUnit,
                       "Cannot convert from unit " + named(space.unit) + " to unit " + named(unit));
    }
    return {start * *ratio, end * *ratio, {}, *ratio == 1.0};
}

// The numbers of the pixels of a discrete range.
std::set<int> pixelsOf(QelValueRange const & range) {
    std::set<int> numbers;
    if (range.width() == 0.0) return numbers;
    int const from = static_cast<int>(range.min().value());
    int const to = static_cast<int>(range.max().value());
    for (int i = from; i <= to; ++i)
        numbers.insert(i);
    if (!range.minClosed()) numbers.erase(from);
    if (!range.maxClosed()) numbers.erase(to);
    return numbers;
}

void expectSame(QelValueRange const & expected, QelValueRange const & range) {
    EXPECT_EQ(expected.unit(), range.unit());
    EXPECT_EQ(expected.min().value(), range.min().value());
    EXPECT_EQ(expected.max().value(), range.max().value());
    EXPECT_EQ(expected.width().value(), range.width().value());
    EXPECT_EQ(expected.discrete(), range.discrete());
    EXPECT_EQ(expected.minClosed(), range.minClosed());
    EXPECT_EQ(expected.maxClosed(), range.maxClosed());
}

void expectDiscreteClip(QelValueRange const & before, Legal const & legal,
                        QelValueRange const & after) {
    std::set<int> wanted;
    for (int const number : pixelsOf(before)) {
        if (number >= legal.from && number <= legal.to) wanted.insert(number);
    }
    EXPECT_EQ(wanted, pixelsOf(after));
    EXPECT_EQ(static_cast<double>(wanted.size()), after.width().value());
    if (!wanted.empty()) return;
    EXPECT_EQ(before.max().value() < legal.from + 1.0 ? legal.from : legal.to, after.min().value());
}

void expectContinuousClip(QelValueRange const & before, Legal const & legal,
                          QelValueRange const & after) {
    bool const inPixels = before.unit() == P;
    // An open end of samples is none of them.
    bool const samples = before.discrete() == 1 && !(before.width() == 0.0);
    double const low = before.min().value() + (samples && !before.minClosed() ? 1.0 : 0.0);
    double const high = before.max().value() - (samples && !before.maxClosed() ? 1.0 : 0.0);
    bool const below = high < legal.from;
    double from = below ? legal.from : low > legal.to ? legal.to : std::max(low, legal.from);
    double to = below || low > legal.to ? from : std::min(high, legal.to);
    double width = to - from;
    if (inPixels && !below && !(low > legal.to)) {
        from = std::floor(from + 0.5);
        to = std::floor(to + 0.5);
        width = to - from + 1.0;
        EXPECT_LE(after.max().value(), legal.to);
    }
    SCOPED_TRACE(testing::Message() << "from " << from << " to " << to);
    expectRange({QelValue(from, before.unit()), QelValue(width, before.unit()), inPixels ? 1 : 0,
                 true, true},
                after);
}

// Where the borders differ from the library's by rounding, an end at a border may count as inside
// or outside, which moves it by that difference.
bool isDecided(QelValueRange const & range, Legal const & legal) {
    for (double const end : {range.min().value(), range.max().value()}) {
        for (double const border : {legal.from, legal.to}) {
            bool const same = end == border && legal.exact;
            if (!same && std::fabs(end - border) < 1e-9) return false;
        }
    }
    return true;
}

void expectClip(QelValueRange const & before, Legal const & legal, QelValueRange const & after) {
    double const low = before.min().value();
    double const high = before.max().value();
    if (!isDecided(before, legal)) {
        if (before.discrete() == 1) return;  // it may even be a sample more or less
        EXPECT_NEAR(std::clamp(low, legal.from, legal.to), after.min().value(), 1e-8);
        EXPECT_NEAR(std::clamp(high, legal.from, legal.to), after.max().value(), 1e-8);
    } else if (low >= legal.from && high <= legal.to) {
        expectSame(before, after);
    } else if (before.discrete() == 1 && before.unit() == P) {
        expectDiscreteClip(before, legal, after);
        EXPECT_TRUE(after.minClosed() && after.maxClosed() && after.discrete() == 1);
    } else {
        expectContinuousClip(before, legal, after);
    }
}

class RandomSpaces {
  public:
    explicit RandomSpaces(unsigned seed) : random_(seed) {}

    int number(int from, int to) { return std::uniform_int_distribution<int>(from, to)(random_); }
    double real(double from, double to) {
        return std::uniform_real_distribution<double>(from, to)(random_);
    }
    bool coin() { return number(0, 1) == 1; }

    MoxSmartPtr<QelXyCoordSpace> space() {
        int const units[] = {P, W, H, N, inch, cm, any};
        int const unit = units[number(0, 6)];
        if (unit == P) {
            return pixelSpace(static_cast<unsigned>(number(1, 60)),
                              static_cast<unsigned>(number(1, 60)));
        }
        if (isRelativeUnit(unit)) return relativeSpace(unit);
        MoxSmartPtr<QelXyCoordSpace> made = physicalSpace(real(0.5, 30.0), real(0.5, 30.0), unit);
        for (unsigned axis = 0; axis < 2; ++axis)
            if (coin()) made->setOrigin(axis, QelValue(number(-20, 20) * 0.5, unit));
        unsigned const wide = static_cast<unsigned>(number(1, 60));
        unsigned const high = static_cast<unsigned>(number(1, 60));
        if (coin()) made->addResolution(wide, high);
        if (made->numResolutions() == 1 && coin()) made->selectResolution(wide, high);
        return made;
    }

    // Most of them near the legal interval.
    QelValueRange range(int unit, Legal const & legal) {
        double const size = std::min(legal.to - legal.from, 40.0) + 1.0;
        double min = legal.from + real(-1.5, 1.5) * size;
        double width = real(0.0, 2.5) * size;
        int const kind = number(0, 9);
        if (kind == 0) min = legal.from;
        if (kind == 1 && legal.to < maximum) min = legal.to;
        if (kind == 2) width = 0.0;
        if (kind == 3) width = legal.to < maximum ? legal.to - min : width;
        bool const discrete = number(0, unit == P ? 1 : 9) == 0;
        bool const minClosed = number(0, 2) != 0;
        bool const maxClosed = number(0, 2) != 0;
        return {QelValue(min, unit), QelValue(std::max(width, 0.0), unit), discrete ? 1 : 0,
                minClosed, maxClosed};
    }

    int boxUnit() {
        int const units[] = {P, W, H, N, inch, cm, any, second};
        return units[number(0, 29) == 0 ? 7 : number(0, 6)];
    }

  private:
    std::mt19937 random_;
};

SpaceFacts factsOf(QelXyCoordSpace const & space) {
    return {space.unit(),
            {space.xDimension().origin().value(), space.yDimension().origin().value()},
            {space.width().value(), space.height().value()},
            {space.numPixelsWide(), space.numPixelsHigh()}};
}

// The whole text of the first problem, or of none.
Problem problemOf(Legal const & x, Legal const & y) {
    return x.problem.code != 0 ? x.problem : y.problem;
}

}  // namespace

TEST(QelXyRegionClipTest, IsTheModelsForAnyBoxInAnySpace) {
    constexpr unsigned seed = 20260801;
    std::cout << "seed " << seed << '\n';
    RandomSpaces random(seed);
    int clipped = 0;
    int refusals = 0;
    for (int round = 0; round < 100000 && !testing::Test::HasFailure(); ++round) {
        MoxSmartPtr<QelXyCoordSpace> const space = random.space();
        SpaceFacts const facts = factsOf(*space);
        int const xUnit = random.boxUnit();
        int const yUnit = random.coin() ? xUnit : random.boxUnit();
        Legal const legalX = legalOn(facts, 0, xUnit);
        Legal const legalY = legalOn(facts, 1, yUnit);
        QelValueRange const x = random.range(xUnit, legalX);
        QelValueRange const y = random.range(yUnit, legalY);
        SCOPED_TRACE(testing::Message()
                     << "round " << round << ": " << *space << ' ' << x << ' ' << y);
        Problem const problem = problemOf(legalX, legalY);
        if (problem.code != 0) {
            expectRaises(problem.code, problem.text, [&] { QelXySimpleRegion give(space, x, y); });
            ++refusals;
            continue;
        }
        MoxSmartPtr<QelXySimpleRegion> const region(new QelXySimpleRegion(space, x, y));
        expectClip(x, legalX, region->box()->range(0));
        expectClip(y, legalY, region->box()->range(1));
        ++clipped;
    }
    // Each side has had its share.
    EXPECT_LT(20000, clipped);
    EXPECT_LT(10000, refusals);
}

// The model holds the intervals; here is each of them once, by hand.
TEST(QelXyRegionClipTest, EveryRowOfTheTable) {
    MoxSmartPtr<QelXyCoordSpace> const page = sampledSpace(8.0, 4.0, 800, 400);
    page->setOrigin(0, inches(-1.0));
    page->setOrigin(1, inches(2.0));
    MoxSmartPtr<QelXyCoordSpace> const raster = pixelSpace(80, 40);
    struct Case {
        char const * what;
        MoxSmartPtr<QelXyCoordSpace> space;
        int unit;
        double fromX, toX, fromY, toY;
    };
    double const far = 1e9;
    Case const cases[] = {
        {"pixels", page, P, 0, 799, 0, 399},
        {"pixels of pixels", raster, P, 0, 79, 0, 39},
        {"width relative", page, W, 0, 1, 0, 0.5},
        {"height relative", page, H, 0, 2, 0, 1},
        {"normalized", page, N, 0, 1, 0, 1},
        {"inches", page, inch, -1, 7, 2, 6},
        {"centimeters", page, cm, -2.54, 17.78, 5.08, 15.24},
        {"arbitrary", page, any, -1, 7, 2, 6},
        {"arbitrary of pixels", raster, any, 0, 79, 0, 39},
        {"width relative of pixels", raster, W, 0, 1, 0, 0.5},
        {"normalized of pixels", raster, N, 0, 1, 0, 1},
        {"width relative of itself", relativeSpace(W), W, 0, 1, 0, far},
        {"height relative of itself", relativeSpace(H), H, 0, far, 0, 1},
        {"normalized of itself", relativeSpace(N), N, 0, 1, 0, 1},
        {"arbitrary of height relative", relativeSpace(H), any, 0, far, 0, 1},
        {"arbitrary of width relative", relativeSpace(W), any, 0, 1, 0, far},
        {"normalized of width relative", relativeSpace(W), N, 0, 1, 0, 1},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        MoxSmartPtr<QelXySimpleRegion> const region =
            regionOf(row.space, boxIn(row.unit, -far, -far, 2 * far, 2 * far));
        MoxConstSmartPtr<QelXyBox> const box = region->box();
        EXPECT_DOUBLE_EQ(row.fromX, box->xMin().value());
        EXPECT_NEAR(row.toX, box->xMax().value(), 1e-12 * (1.0 + row.toX));
        EXPECT_DOUBLE_EQ(row.fromY, box->yMin().value());
        EXPECT_NEAR(row.toY, box->yMax().value(), 1e-12 * (1.0 + row.toY));
        EXPECT_EQ(row.unit, box->range(0).unit());
        EXPECT_EQ(row.unit, box->range(1).unit());
    }
}

TEST(QelXyRegionClipTest, RoundsBothEndsOfPixelsAndStaysInside) {
    MoxSmartPtr<QelXySimpleRegion> const region =
        regionOf(pixelSpace(100, 100), boxIn(P, 10.5, -0.5, 500.0, 51.0));
    expectBox(pixelBoxAt(11, 0, 89, 52), *region);
}

TEST(QelXyRegionClipTest, AnOpenEndIsNoPixelOfADiscreteRange) {
    MoxSmartPtr<QelXyCoordSpace> const space = pixelSpace(100, 100);
    auto const open = [](double min, double width) {
        return QelValueRange(pixels(min), pixels(width), 1, false, false);
    };
    // The pixels 0 to 99, and 11 to 20; 4 to 99, and none.
    expectBox(QelXyBox(wholePixels(0, 100), open(10, 10)),
              *regionOf(space, QelXyBox(open(-1, 100), open(10, 10))));
    expectBox(QelXyBox(wholePixels(4, 96), wholePixels(99, 0)),
              *regionOf(space, QelXyBox(open(3, 200), open(99, 5))));
}

TEST(QelXyRegionClipTest, ClippingAgainChangesNothing) {
    MoxSmartPtr<QelXyCoordSpace> const space = sampledSpace(8.1, 4.3, 801, 399);
    RandomSpaces random(7);
    std::cout << "seed 7\n";
    for (int unit : {P, W, H, N, inch, cm, any}) {
        for (int i = 0; i < 500; ++i) {
            MoxSmartPtr<QelXySimpleRegion> const region =
                regionOf(space, boxIn(unit, random.real(-9, 9), random.real(-9, 9),
                                      random.real(0, 20), random.real(0, 20)));
            MoxConstSmartPtr<QelXyBox> const once = region->box();
            region->setBox(*once);
            SCOPED_TRACE(*once);
            expectBox(*once, *region);
        }
    }
}
