#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// Conversions of positions, spans and ranges, row by row.

namespace {

constexpr int pixel = QEL_UNIT_PIXEL;
constexpr int inch = QEL_UNIT_INCH;
constexpr int centimeter = QEL_UNIT_CENTIMETER;
constexpr int ofWidth = QEL_UNIT_WIDTH_RELATIVE;
constexpr int ofHeight = QEL_UNIT_HEIGHT_RELATIVE;
constexpr int ofOwn = QEL_UNIT_NORMALIZED;

// Both axes in one form.
class Axis {
  public:
    explicit Axis(unsigned index) : index_(index) {}

    QelValue position(QelXyCoordSpace const & space, QelValue const & value, int unit,
                      bool discrete = false) const {
        return index_ == 0 ? space.convertHorzPosition(value, unit, discrete)
                           : space.convertVertPosition(value, unit, discrete);
    }
    QelValue span(QelXyCoordSpace const & space, QelValue const & value, int unit,
                  bool discrete = false) const {
        return index_ == 0 ? space.convertHorzSpan(value, unit, discrete)
                           : space.convertVertSpan(value, unit, discrete);
    }
    QelValueRange range(QelXyCoordSpace const & space, QelValueRange const & value, int unit,
                        bool discrete = false) const {
        return index_ == 0 ? space.convertHorzRange(value, unit, discrete)
                           : space.convertVertRange(value, unit, discrete);
    }
    // Units and lengths as this axis sees them.
    int own() const { return index_ == 0 ? ofWidth : ofHeight; }
    int cross() const { return index_ == 0 ? ofHeight : ofWidth; }
    int mirrored(int unit) const {
        if (index_ == 0 || (unit != ofWidth && unit != ofHeight)) return unit;
        return unit == ofWidth ? ofHeight : ofWidth;
    }
    std::string name() const { return index_ == 0 ? "horizontal" : "vertical"; }
    unsigned index() const { return index_; }

  private:
    unsigned index_;
};

Axis const axes[] = {Axis(0), Axis(1)};

// 8 long from 3 along `axis`, 5 from -2 across it; 80 samples along it, 20 across.
QelXyCoordSpace physical(Axis const & axis) {
    bool const horz = axis.index() == 0;
    QelXyCoordSpace space(inches(horz ? 8 : 5), inches(horz ? 5 : 8));
    space.setOrigin(axis.index(), inches(3));
    space.setOrigin(1 - axis.index(), inches(-2));
    space.addResolution(horz ? 80 : 20, horz ? 20 : 80);
    space.selectResolution(horz ? 80 : 20, horz ? 20 : 80);
    return space;
}

// What the formulas of the table speak of.
struct Letters {
    double v;
    double O = 3.0;
    double W = 8.0;
    double H = 5.0;
    double D = 10.0;
};

using Formula = double (*)(Letters const &);

// One row of the table, for the horizontal axis; the vertical one is its mirror.
struct Row {
    char const * name;
    int source;
    int target;
    double value;
    Formula position;
    Formula span;
};

Row const rows[] = {
    {"own to pixels", ofWidth, pixel, 0.3, [](Letters const & l) { return l.v * l.W * l.D; },
     [](Letters const & l) { return l.v * l.W * l.D; }},
    {"normalized to pixels", ofOwn, pixel, 0.3, [](Letters const & l) { return l.v * l.W * l.D; },
     [](Letters const & l) { return l.v * l.W * l.D; }},
    {"cross to pixels", ofHeight, pixel, 0.3, [](Letters const & l) { return l.v * l.H * l.D; },
     [](Letters const & l) { return l.v * l.H * l.D; }},
    {"world to pixels", inch, pixel, 4.0, [](Letters const & l) { return (l.v - l.O) * l.D; },
     [](Letters const & l) { return l.v * l.D; }},
    {"other world to pixels", centimeter, pixel, 10.16,
     [](Letters const & l) { return (l.v / 2.54 - l.O) * l.D; },
     [](Letters const & l) { return l.v / 2.54 * l.D; }},
    {"arbitrary to pixels", 0, pixel, 4.0, [](Letters const & l) { return (l.v - l.O) * l.D; },
     [](Letters const & l) { return l.v * l.D; }},
    {"pixels to own", pixel, ofWidth, 20, [](Letters const & l) { return l.v / l.D / l.W; },
     [](Letters const & l) { return l.v / l.D / l.W; }},
    {"pixels to normalized", pixel, ofOwn, 20, [](Letters const & l) { return l.v / l.D / l.W; },
     [](Letters const & l) { return l.v / l.D / l.W; }},
    {"normalized to own", ofOwn, ofWidth, 0.7, [](Letters const & l) { return l.v; },
     [](Letters const & l) { return l.v; }},
    {"own to normalized", ofWidth, ofOwn, 0.7, [](Letters const & l) { return l.v; },
     [](Letters const & l) { return l.v; }},
    {"cross to own", ofHeight, ofWidth, 0.7, [](Letters const & l) { return l.v * l.H / l.W; },
     [](Letters const & l) { return l.v * l.H / l.W; }},
    {"cross to normalized", ofHeight, ofOwn, 0.7, [](Letters const & l) { return l.v * l.H / l.W; },
     [](Letters const & l) { return l.v * l.H / l.W; }},
    {"world to own", inch, ofWidth, 4.0, [](Letters const & l) { return (l.v - l.O) / l.W; },
     [](Letters const & l) { return l.v / l.W; }},
    {"other world to own", centimeter, ofOwn, 10.16,
     [](Letters const & l) { return (l.v / 2.54 - l.O) / l.W; },
     [](Letters const & l) { return l.v / 2.54 / l.W; }},
    {"pixels to cross", pixel, ofHeight, 20, [](Letters const & l) { return l.v / l.D / l.H; },
     [](Letters const & l) { return l.v / l.D / l.H; }},
    {"own to cross", ofWidth, ofHeight, 0.7, [](Letters const & l) { return l.W * l.v / l.H; },
     [](Letters const & l) { return l.W * l.v / l.H; }},
    {"normalized to cross", ofOwn, ofHeight, 0.7, [](Letters const & l) { return l.W * l.v / l.H; },
     [](Letters const & l) { return l.W * l.v / l.H; }},
    {"world to cross", inch, ofHeight, 4.0, [](Letters const & l) { return (l.v - l.O) / l.H; },
     [](Letters const & l) { return l.v / l.H; }},
    {"pixels to world", pixel, inch, 20, [](Letters const & l) { return l.v / l.D + l.O; },
     [](Letters const & l) { return l.v / l.D; }},
    {"pixels to other world", pixel, centimeter, 20,
     [](Letters const & l) { return (l.v / l.D + l.O) * 2.54; },
     [](Letters const & l) { return l.v / l.D * 2.54; }},
    {"pixels to arbitrary", pixel, 0, 20, [](Letters const & l) { return l.v / l.D + l.O; },
     [](Letters const & l) { return l.v / l.D; }},
    {"own to world", ofWidth, inch, 0.3, [](Letters const & l) { return l.v * l.W + l.O; },
     [](Letters const & l) { return l.v * l.W; }},
    {"normalized to other world", ofOwn, centimeter, 0.3,
     [](Letters const & l) { return (l.v * l.W + l.O) * 2.54; },
     [](Letters const & l) { return l.v * l.W * 2.54; }},
    {"cross to world", ofHeight, inch, 0.3, [](Letters const & l) { return l.H * l.v + l.O; },
     [](Letters const & l) { return l.H * l.v; }},
    {"world to other world", inch, centimeter, 4.0, [](Letters const & l) { return l.v * 2.54; },
     [](Letters const & l) { return l.v * 2.54; }},
    {"elsewhere", QEL_UNIT_MINUTE, QEL_UNIT_SECOND, 4.0, [](Letters const & l) { return l.v * 60; },
     [](Letters const & l) { return l.v * 60; }},
};

void expectValue(double expected, int unit, QelValue const & value) {
    EXPECT_NEAR(expected, value.value(), 1e-12 * (1.0 + std::fabs(expected)));
    EXPECT_EQ(unit, value.unit());
}

TEST(QelXyCoordSpaceConvertTest, EachRowOfTheTable) {
    for (Axis const & axis : axes) {
        QelXyCoordSpace const space = physical(axis);
        for (Row const & row : rows) {
            SCOPED_TRACE(axis.name() + ' ' + row.name);
            int const source = axis.mirrored(row.source);
            int const target = axis.mirrored(row.target);
            QelValue const value(row.value, source);
            Letters const letters{row.value};
            expectValue(row.position(letters), target, axis.position(space, value, target));
            expectValue(row.span(letters), target, axis.span(space, value, target));
            QelValueRange const range = axis.range(space, {value, value, 0, false, false}, target);
            expectValue(row.position(letters), target, range.min());
            expectValue(row.span(letters), target, range.width());
            EXPECT_TRUE(range.minClosed() && range.maxClosed());
            EXPECT_EQ(0, range.discrete());
        }
    }
}

// What stays outside of the space converts in any space, also in one of other units.
TEST(QelXyCoordSpaceConvertTest, PlainConversionsNeedNothingOfTheSpace) {
    for (int const unit : {pixel, ofWidth, ofHeight, ofOwn, static_cast<int>(QEL_UNIT_SECOND)}) {
        SCOPED_TRACE(unit);
        QelXyCoordSpace const space(unit);
        for (Axis const & axis : axes) {
            expectValue(2.54, centimeter, axis.position(space, inches(1), centimeter));
            expectValue(2.54, centimeter, axis.span(space, inches(1), centimeter));
            QelValueRange const range =
                axis.range(space, {inches(1), inches(2), 1, true, true}, centimeter);
            expectValue(2.54, centimeter, range.min());
            expectValue(5.08, centimeter, range.width());
            EXPECT_EQ(0, range.discrete());
        }
    }
}

TEST(QelXyCoordSpaceConvertTest, TheSameUnitIsUnchanged) {
    QelXyCoordSpace const space(inches(1), inches(1));  // Without resolutions.
    for (Axis const & axis : axes) {
        for (int const unit : {pixel, inch, ofWidth, ofHeight, ofOwn}) {
            QelValue const value(7.25, unit);
            QelValueRange const range(value, value, 1, false, true);
            for (bool const discrete : {false, true}) {
                EXPECT_EQ(stateOf(value), stateOf(axis.position(space, value, unit, discrete)));
                EXPECT_EQ(stateOf(value), stateOf(axis.span(space, value, unit, discrete)));
                QelValueRange const same = axis.range(space, range, unit, discrete);
                EXPECT_EQ(7.0, same.width().value());
                EXPECT_EQ(1, same.discrete());
                EXPECT_FALSE(same.minClosed());
            }
        }
    }
}

TEST(QelXyCoordSpaceConvertTest, RefusesPartsOfTheOtherExtent) {
    char const * const names[] = {"", "", "width relative unit", "height relative unit",
                                  "normalized unit"};
    for (Axis const & axis : axes) {
        struct Case {
            int unit;
            int target;
        };
        Case const cases[] = {{axis.cross(), axis.own()},
                              {axis.cross(), ofOwn},
                              {axis.own(), axis.cross()},
                              {ofOwn, axis.cross()}};
        for (Case const & each : cases) {
            QelXyCoordSpace const space(each.unit);
            for (QelValue const & value : {pixels(1), inches(1), QelValue(1, each.unit)}) {
                auto const text = [&](std::string const & thing) {
                    return "Cannot convert " + axis.name() + ' ' + thing + " to unit \"" +
                           names[each.target] + "\" when the underlying coord space is in unit \"" +
                           names[each.unit] + '"';
                };
                SCOPED_TRACE(text("it"));
                expectRaises(QelErrorCode::cannotConvertUnit, text("position"),
                             [&] { axis.position(space, value, each.target); });
                bool const known = axis.index() == 0 && each.target == ofHeight;
                expectRaises(QelErrorCode::cannotConvertUnit, text(known ? "position" : "span"),
                             [&] { axis.span(space, value, each.target); });
                expectRaises(QelErrorCode::cannotConvertUnit, text("range"), [&] {
                    axis.range(space, {value, value, 0, true, true}, each.target);
                });
            }
        }
    }
}

TEST(QelXyCoordSpaceConvertTest, RefusesUnitsThatDoNotConvert) {
    QelXyCoordSpace const space = physical(axes[0]);
    QelValue const second(1, QEL_UNIT_SECOND);
    constexpr char const * text =
        "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)";
    for (Axis const & axis : axes) {
        for (int const target : {pixel, ofWidth, ofHeight, ofOwn, inch}) {
            expectRaises(QelErrorCode::cannotConvertUnit, text,
                         [&] { axis.position(space, second, target); });
            expectRaises(QelErrorCode::cannotConvertUnit, text,
                         [&] { axis.span(space, second, target); });
        }
        expectRaises(QelErrorCode::unitNotRegistered, "Unit identifier 99 has not been registered",
                     [&] { axis.position(space, inches(1), 99); });
    }
}

// The twelve messages: two axes, three things, either way.
TEST(QelXyCoordSpaceConvertTest, RefusesPixelsWithoutASelection) {
    QelXyCoordSpace none(inches(10), inches(10));
    QelXyCoordSpace two = none;
    two.addResolution(100, 100);
    two.addResolution(200, 200);
    QelXyCoordSpace any = none;
    any.addResolution(QelXyCoordSpace::Resolution());
    struct Case {
        QelXyCoordSpace const & space;
        int code;
        std::string tail;
    };
    std::string const noSelection =
        "when there is no selected resolution and the coord space is not single-res";
    Case const cases[] = {
        {none, QelErrorCode::noSelectedResolution, noSelection},
        {two, QelErrorCode::noSelectedResolution, noSelection},
        {any, QelErrorCode::arbitraryResolution,
         "when there is no selected resolution and coord space supports only arbitrary res"},
    };
    auto const rangeOf = [](QelValue const & value) {
        return QelValueRange(value, value, 0, true, true);
    };
    for (Case const & each : cases) {
        for (Axis const & axis : axes) {
            std::string const start = "QelXyCoordSpace cannot convert " + axis.name() + ' ';
            std::string const to = " to pixels, " + each.tail;
            std::string const from = " in pixels to another unit, " + each.tail;
            SCOPED_TRACE(start + to);
            QelXyCoordSpace const & space = each.space;
            for (QelValue const & value : {inches(1), normalized(1), QelValue(1, ofHeight)}) {
                expectRaises(each.code, start + "position" + to,
                             [&] { axis.position(space, value, pixel); });
                expectRaises(each.code, start + "span" + to,
                             [&] { axis.span(space, value, pixel, true); });
                expectRaises(each.code, start + "range" + to,
                             [&] { axis.range(space, rangeOf(value), pixel, true); });
            }
            for (int const target : {inch, ofWidth, ofHeight, ofOwn}) {
                expectRaises(each.code, start + "position" + from,
                             [&] { axis.position(space, pixels(1), target); });
                expectRaises(each.code, start + "span" + from,
                             [&] { axis.span(space, pixels(1), target); });
                expectRaises(each.code, start + "range" + from,
                             [&] { axis.range(space, rangeOf(pixels(1)), target); });
            }
        }
    }
}

// The edge case: the only row serves where nothing is selected.
TEST(QelXyCoordSpaceConvertTest, WithoutASelectionTheOnlyRowServes) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution(100, 100);
    ASSERT_FALSE(space.hasSelectedResolution());
    expectValue(20, pixel, space.convertHorzPosition(inches(2), pixel));
    expectValue(2, inch, space.convertVertPosition(pixels(20), inch));
    // To the last sample.
    expectValue(1, inch,
                space.convertHorzRange({pixels(90), pixels(10), 1, true, true}, inch).width());
}

// The edge case: pixel 0 at 100 dots per inch.
TEST(QelXyCoordSpaceConvertTest, TheCentreOfPixelZero) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution(1000, 1000);
    expectValue(0.005, inch, space.convertHorzPosition(pixels(0), inch, true));
    expectValue(0.0, pixel, space.convertHorzPosition(inches(0.005), pixel, true));
    EXPECT_FALSE(std::signbit(space.convertHorzPosition(inches(0.005), pixel, true).value()));
    // Ahead of the centre is the pixel before.
    expectValue(-1.0, pixel, space.convertHorzPosition(inches(0.0049), pixel, true));
    expectValue(0.0, pixel, space.convertHorzPosition(inches(0.0149), pixel, true));
}

// The edge case: 0 to 1 inch at 100 dots per inch.
TEST(QelXyCoordSpaceConvertTest, AnInchIsPixels0To99) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution(1000, 1000);
    for (Axis const & axis : axes) {
        QelValueRange const range =
            axis.range(space, {inches(0), inches(1), 0, true, true}, pixel, true);
        expectValue(0, pixel, range.min());
        expectValue(99, pixel, range.max());
        expectValue(100, pixel, range.width());
        EXPECT_EQ(1, range.discrete());
    }
    // Between two centres there is nothing.
    QelValueRange const none =
        space.convertHorzRange({inches(0.006), inches(0.008), 0, true, true}, pixel, true);
    expectValue(0, pixel, none.width());
}

// The edge case: what reaches the last sample covers the extent.
TEST(QelXyCoordSpaceConvertTest, ARangeToTheLastSampleCoversTheExtent) {
    for (Axis const & axis : axes) {
        QelXyCoordSpace space(inches(10.05), inches(10.05));
        space.addResolution(QelXyCoordSpace::Resolution{{10, inch}, {10, inch}});
        ASSERT_EQ(101U, space.getResolution(0).horz.pixels);
        auto const widthOf = [&](double start, double count, bool centre) {
            return axis.range(space, {pixels(start), pixels(count), 1, true, true}, inch, centre)
                .width()
                .value();
        };
        EXPECT_DOUBLE_EQ(10.05 - 9.0, widthOf(90, 10, false));
        EXPECT_DOUBLE_EQ(10.05 - 9.0, widthOf(90, 11, false));
        EXPECT_DOUBLE_EQ(10.05 - 9.05, widthOf(90, 11, true));
        EXPECT_DOUBLE_EQ(0.9, widthOf(90, 9, false));
        EXPECT_DOUBLE_EQ(0.9, widthOf(90, 9, true));
        EXPECT_DOUBLE_EQ(10.05, widthOf(0, 101, false));
        // Beyond the extent it is only a number of dots.
        EXPECT_DOUBLE_EQ(1.0, widthOf(200, 10, false));
        expectValue(9.05, inch,
                    axis.range(space, {pixels(90), pixels(9), 1, true, true}, inch, true).min());
    }
}

TEST(QelXyCoordSpaceConvertTest, SpansFloorWithoutHalves) {
    QelXyCoordSpace const space = physical(axes[0]);
    expectValue(9, pixel, space.convertHorzSpan(inches(0.99), pixel, true));
    expectValue(9.9, pixel, space.convertHorzSpan(inches(0.99), pixel, false));
    expectValue(10, pixel, space.convertHorzSpan(inches(1), pixel, true));
}

TEST(QelXyCoordSpaceConvertTest, InPixelsAPixelIsAPixel) {
    QelXyCoordSpace const space(640, 480);
    for (bool const centre : {false, true}) {
        expectValue(7, 0, space.convertHorzPosition(pixels(7), 0, centre));
        expectValue(7, 0, space.convertVertSpan(pixels(7), 0, centre));
        QelValueRange const range =
            space.convertHorzRange({pixels(600), pixels(40), 1, true, true}, 0, centre);
        expectValue(600, 0, range.min());
        expectValue(40, 0, range.width());
        expectValue(0.5, ofOwn, space.convertHorzPosition(pixels(320), ofOwn, centre));
        expectValue(240.0 / 640, ofWidth, space.convertVertPosition(pixels(240), ofWidth, centre));
    }
    expectValue(320, pixel, space.convertHorzPosition(normalized(0.5), pixel));
    expectValue(319, pixel, space.convertHorzPosition(normalized(0.5), pixel, true));
    QelValueRange const all =
        space.convertHorzRange({normalized(0), normalized(1), 0, true, true}, pixel, true);
    expectValue(0, pixel, all.min());
    expectValue(640, pixel, all.width());
    expectRaises(QelErrorCode::cannotConvertUnit,
                 "Cannot convert from unit pixels (id = 1) to unit inches (id = 43)",
                 [&] { space.convertHorzPosition(pixels(7), inch); });
}

TEST(QelXyCoordSpaceConvertTest, InARelativeSpaceTheExtentsAreOne) {
    for (Axis const & axis : axes) {
        QelXyCoordSpace const space(axis.own());
        expectValue(0.25, ofOwn, axis.position(space, {0.25, axis.own()}, ofOwn));
        expectValue(0.25, axis.own(), axis.position(space, {0.25, axis.cross()}, axis.own()));
        expectValue(0.25, 0, axis.position(space, {0.25, axis.own()}, 0));
        expectRaises(QelErrorCode::cannotConvertUnit,
                     "Cannot convert from unit " + QelValue::getUnitInfo(axis.own()).pluralName +
                         " (id = " + std::to_string(axis.own()) + ") to unit inches (id = 43)",
                     [&] {
                         axis.position(space, {0.25, axis.own()}, inch);
                     });
    }
}

}  // namespace
