#include <limits>
#include <memory>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyBox.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// Copies share their dimensions until one of them is changed, and a change that raises is none.

namespace {

using Space = QelXyCoordSpace;
using Resolution = QelXyCoordSpace::Resolution;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QelXyCoordSpace physical() {
    QelXyCoordSpace space(inches(10), inches(20));
    space.addDimension(std::make_unique<QelDimension>("time", QelValue(2, QEL_UNIT_MINUTE)));
    space.addResolution(1000, 1000);
    space.addResolution({QelResolution::ofPixels(500), {}});
    space.selectResolution(1000, 1000);
    return space;
}

QelXyCoordSpace other() {
    QelXyCoordSpace space(inches(10), inches(20));
    space.addResolution(500, 500);
    return space;
}

std::unique_ptr<QelDimension> dimension(char const * name) {
    return std::make_unique<QelDimension>(name, inches(1));
}

QelXyBox box(double width) {
    return {{inches(1), inches(width), 0, true, true}, {inches(1), inches(2), 0, true, true}};
}

struct Change {
    char const * name;
    void (*apply)(Space &);
};

// One for each operation that changes something. Those marked with * touch the selection alone.
Change const changes[] = {
    {"setDimensionUnit", [](Space & s) { s.setDimensionUnit(0, QEL_UNIT_CENTIMETER); }},
    {"setDimensionUnit, further", [](Space & s) { s.setDimensionUnit(2, QEL_UNIT_SECOND); }},
    {"setUnit", [](Space & s) { s.setUnit(QEL_UNIT_ARBITRARY); }},
    {"setXyUnit", [](Space & s) { s.setXyUnit(QEL_UNIT_CENTIMETER); }},
    {"setXyUnit to pixels", [](Space & s) { s.setXyUnit(QEL_UNIT_PIXEL); }},
    {"setXyUnit to a relative one", [](Space & s) { s.setXyUnit(QEL_UNIT_NORMALIZED); }},
    {"scaleDimension", [](Space & s) { s.scaleDimension(0, 2.0); }},
    {"scaleDimension, further", [](Space & s) { s.scaleDimension(2, 2.0); }},
    {"scaleDimension, dpu", [](Space & s) { s.scaleDimension(1, 2.0, true); }},
    {"scale", [](Space & s) { s.scale(2.0); }},
    {"scale, dpu", [](Space & s) { s.scale(2.0, true); }},
    {"scaleX", [](Space & s) { s.scaleX(2.0, true); }},
    {"scaleY", [](Space & s) { s.scaleY(2.0, false); }},
    {"scaleXY", [](Space & s) { s.scaleXY(2.0, true); }},
    {"scaleWidth", [](Space & s) { s.scaleWidth(2.0, true); }},
    {"scaleHeight", [](Space & s) { s.scaleHeight(2.0, false); }},
    {"scaleWidthHeight", [](Space & s) { s.scaleWidthHeight(2.0, true); }},
    {"translateDimension", [](Space & s) { s.translateDimension(0, inches(1)); }},
    {"translateDimension, further",
     [](Space & s) { s.translateDimension(2, QelValue(1, QEL_UNIT_HOUR)); }},
    {"setDimension", [](Space & s) { s.setDimension(2, QelDimension("z", inches(1))); }},
    {"setDimension by name", [](Space & s) { s.setDimension(QelDimension("time", inches(1))); }},
    {"swapXY", [](Space & s) { s.swapXY(); }},
    {"setOrigin", [](Space & s) { s.setOrigin(0, inches(3)); }},
    {"setWidth", [](Space & s) { s.setWidth(1, inches(3), true); }},
    {"addResolution", [](Space & s) { s.addResolution(Resolution()); }},
    {"addResolution of counts", [](Space & s) { s.addResolution(7, 7); }},
    {"removeResolution", [](Space & s) { s.removeResolution(0); }},
    {"* selectResolution", [](Space & s) { s.selectResolution(500, 7); }},
    {"* clearSelection", [](Space & s) { s.clearSelection(); }},
    {"intersectResolutions",
     [](Space & s) {
         QelXyCoordSpace const with = other();
         s.intersectResolutions(&with);
     }},
    {"intersectDpuResolutions", [](Space & s) { s.intersectDpuResolutions(nullptr, 1.0, false); }},
    {"scalePixels", [](Space & s) { s.scalePixels(0.5, 0.5, true); }},
    {"scalePixels by a ratio", [](Space & s) { s.scalePixels(2, 1, true); }},
    {"addDimension", [](Space & s) { s.addDimension(dimension("z")); }},
    {"insertDimension", [](Space & s) { s.insertDimension(dimension("z"), 2); }},
    {"insertDimension by name", [](Space & s) { s.insertDimension(dimension("z"), "time"); }},
    {"removeDimension", [](Space & s) { s.removeDimension(2); }},
    {"renameDimension", [](Space & s) { s.renameDimension(2, "z"); }},
};

TEST(QelXyCoordSpaceShareTest, AChangeOfOneCopyNeverShowsInAnother) {
    for (Change const & each : changes) {
        SCOPED_TRACE(each.name);
        QelXyCoordSpace changed = physical();
        QelXyCoordSpace const copy(changed);
        QelXyCoordSpace assigned(1, 1);
        assigned = changed;
        MoxSmartPtr<QelXyCoordSpace> const clone = changed.cloneXy();
        std::string const before = stateOf(copy);
        ASSERT_EQ(&changed.dimension(0), &copy.dimension(0));
        each.apply(changed);
        EXPECT_NE(before, stateOf(changed));
        EXPECT_EQ(before, stateOf(copy));
        EXPECT_EQ(before, stateOf(assigned));
        EXPECT_EQ(before, stateOf(*clone));
        EXPECT_EQ(&clone->dimension(0), &copy.dimension(0)) << "the others go on sharing";
        bool const ofSelection = each.name[0] == '*';
        EXPECT_EQ(ofSelection, &changed.dimension(0) == &copy.dimension(0));
    }
}

TEST(QelXyCoordSpaceShareTest, TheCopyMayBeTheOneThatChanges) {
    for (Change const & each : changes) {
        SCOPED_TRACE(each.name);
        QelXyCoordSpace const original = physical();
        std::string const before = stateOf(original);
        QelXyCoordSpace copy(original);
        each.apply(copy);
        EXPECT_NE(before, stateOf(copy));
        EXPECT_EQ(before, stateOf(original));
    }
}

// The same change gives the same whether the dimensions are shared or not.
TEST(QelXyCoordSpaceShareTest, SharingMakesNoDifference) {
    for (Change const & each : changes) {
        SCOPED_TRACE(each.name);
        QelXyCoordSpace alone = physical();
        each.apply(alone);
        QelXyCoordSpace shared = physical();
        QelXyCoordSpace const copy(shared);
        each.apply(shared);
        EXPECT_EQ(stateOf(alone), stateOf(shared));
    }
}

TEST(QelXyCoordSpaceShareTest, DimensionsLiveAsLongAsACopy) {
    std::unique_ptr<QelXyCoordSpace> original = std::make_unique<QelXyCoordSpace>(physical());
    QelXyCoordSpace const copy(*original);
    std::string const before = stateOf(copy);
    original.reset();
    EXPECT_EQ(before, stateOf(copy));
}

TEST(QelXyCoordSpaceShareTest, SelfAssignment) {
    QelXyCoordSpace space = physical();
    std::string const before = stateOf(space);
    QelXyCoordSpace & same = space;
    space = same;
    EXPECT_EQ(before, stateOf(space));
}

// ---- What raises changes nothing

struct Refusal {
    char const * name;
    int code;
    void (*apply)(Space &);
};

// Many of them are found out late: on the second axis, in the second row, in a further dimension.
Refusal const refusals[] = {
    {"setDimensionUnit", QelErrorCode::cannotConvertUnit,
     [](Space & s) { s.setDimensionUnit(0, QEL_UNIT_SECOND); }},
    {"setDimensionUnit, further", QelErrorCode::cannotConvertDimension,
     [](Space & s) { s.setDimensionUnit(2, QEL_UNIT_PIXEL); }},
    {"setUnit", QelErrorCode::cannotConvertUnit, [](Space & s) { s.setUnit(QEL_UNIT_CENTIMETER); }},
    {"setUnit to pixels", QelErrorCode::cannotConvertDimension,
     [](Space & s) { s.setUnit(QEL_UNIT_PIXEL); }},
    {"setXyUnit", QelErrorCode::unitNotRegistered, [](Space & s) { s.setXyUnit(99); }},
    {"scaleDimension", QelErrorCode::illegalFactor, [](Space & s) { s.scaleDimension(1, 0.0); }},
    {"scaleDimension, further", QelErrorCode::illegalWidth,
     [](Space & s) { s.scaleDimension(2, 0.0); }},
    {"scale", QelErrorCode::illegalFactor, [](Space & s) { s.scale(0.0); }},
    {"scale, too small", QelErrorCode::noSamples, [](Space & s) { s.scale(-0.0004, true); }},
    {"scale, a further one", QelErrorCode::illegalWidth, [](Space & s) { s.scale(1e-9, false); }},
    {"scaleXY", QelErrorCode::illegalWidth, [](Space & s) { s.scaleXY(nan, false); }},
    {"scaleWidthHeight", QelErrorCode::illegalFactor,
     [](Space & s) { s.scaleWidthHeight(-1.0, false); }},
    {"translateDimension", QelErrorCode::cannotConvertUnit,
     [](Space & s) { s.translateDimension(0, pixels(1)); }},
    {"translateDimension, further", QelErrorCode::cannotConvertUnit,
     [](Space & s) { s.translateDimension(2, inches(1)); }},
    {"setDimension", QelErrorCode::unsupported,
     [](Space & s) { s.setDimension(1, QelDimension("z", inches(1))); }},
    {"setDimension by name", QelErrorCode::noSuchDimension,
     [](Space & s) { s.setDimension(QelDimension("z", inches(1))); }},
    {"setExtentsBox", QelErrorCode::countsDiffer, [](Space & s) { s.setExtentsBox(box(2)); }},
    {"setOrigin", QelErrorCode::cannotConvertUnit,
     [](Space & s) { s.setOrigin(1, QelValue(1, QEL_UNIT_SECOND)); }},
    {"setWidth", QelErrorCode::illegalWidth, [](Space & s) { s.setWidth(1, inches(1e-7), true); }},
    {"setWidth, no sample", QelErrorCode::noSamples,
     [](Space & s) { s.setWidth(1, inches(0.001), true); }},
    {"addResolution", QelErrorCode::noSamples,
     [](Space & s) {
         s.addResolution({QelResolution::ofPixels(5), QelResolution(1e-3, QEL_UNIT_INCH)});
     }},
    {"addResolution of counts", QelErrorCode::zeroPixelsHigh,
     [](Space & s) { s.addResolution(5, 0); }},
    {"removeResolution", QelErrorCode::outOfRange, [](Space & s) { s.removeResolution(2); }},
    {"selectResolution", QelErrorCode::noSuchResolution,
     [](Space & s) { s.selectResolution(7, 7); }},
    {"intersectDpuResolutions", QelErrorCode::cannotConvertUnit,
     [](Space & s) {
         QelXyCoordSpace const seconds{QEL_UNIT_SECOND};
         s.intersectDpuResolutions(&seconds, 1.0, false);
     }},
    {"scalePixels", QelErrorCode::noSamples, [](Space & s) { s.scalePixels(0.5, 0.0001, true); }},
    {"scalePixels, the second row", QelErrorCode::noSamples,
     [](Space & s) { s.scalePixels(0.0015, 1.0, true); }},
    {"scalePixels by a ratio", QelErrorCode::noSamples,
     [](Space & s) { s.scalePixels(600, 1, true); }},
    {"insertDimension", QelErrorCode::outOfRange,
     [](Space & s) { s.insertDimension(dimension("z"), 9); }},
    {"insertDimension ahead of y", QelErrorCode::unsupported,
     [](Space & s) { s.insertDimension(dimension("z"), 1); }},
    {"addDimension", QelErrorCode::nullPointer, [](Space & s) { s.addDimension(nullptr); }},
    {"removeDimension", QelErrorCode::unsupported, [](Space & s) { s.removeDimension(1); }},
    {"renameDimension", QelErrorCode::outOfRange, [](Space & s) { s.renameDimension(3, "z"); }},
    {"swapDimensions", QelErrorCode::unsupported, [](Space & s) { s.swapDimensions(2, 0); }},
};

TEST(QelXyCoordSpaceShareTest, WhatRaisesChangesNothing) {
    for (Refusal const & each : refusals) {
        for (bool const shared : {false, true}) {
            SCOPED_TRACE(each.name);
            QelXyCoordSpace space = physical();
            QelXyCoordSpace const copy = shared ? space : other();
            std::string const before = stateOf(space);
            std::string const copyBefore = stateOf(copy);
            std::optional<ZanError> const error = errorOf([&] { each.apply(space); });
            ASSERT_TRUE(error);
            EXPECT_EQ(each.code, error->getErrcode()) << error->getMsg();
            EXPECT_EQ(before, stateOf(space));
            EXPECT_EQ(copyBefore, stateOf(copy));
        }
    }
}

// Whatever the number is, it changes the space or raises and changes nothing; sanitizers look on.
TEST(QelXyCoordSpaceShareTest, ExtremesChangeOrRaise) {
    double const infinity = std::numeric_limits<double>::infinity();
    using Apply = void (*)(Space &, double);
    Apply const operations[] = {
        [](Space & s, double n) { s.scale(n, true); },
        [](Space & s, double n) { s.scale(n, false); },
        [](Space & s, double n) { s.scaleWidthHeight(n, true); },
        [](Space & s, double n) { s.scaleWidthHeight(n, false); },
        [](Space & s, double n) { s.setWidth(0, inches(n), true); },
        [](Space & s, double n) { s.setWidth(1, pixels(n), false); },
        [](Space & s, double n) { s.setWidth(0, normalized(n), false); },
        [](Space & s, double n) { s.setOrigin(0, inches(n)); },
        [](Space & s, double n) { s.setOrigin(1, pixels(n)); },
        [](Space & s, double n) { s.translateDimension(1, inches(n)); },
        [](Space & s, double n) { s.scalePixels(n, 1.0, true); },
        [](Space & s, double n) { s.scalePixels(1.0, n, false); },
        [](Space & s, double n) { s.newSpace(inches(n), pixels(n)); },
        [](Space & s, double n) {
            QelResolution half;
            half.dpu = n;
            half.unit = QEL_UNIT_INCH;
            s.addResolution({half, half});
            s.selectResolution({half, half});
            Resolution found;
            s.findClosestResolution(found, {half, {}}, 3);
        },
        [](Space & s, double n) { s.setExtentsBox(box(n)); },
    };
    QelXyCoordSpace const spaces[] = {physical(), other(), {640, 480}};
    int done = 0;
    int refused = 0;
    for (double const number : {nan, infinity, -infinity, 1e300, -1e300, 1e-300, 4294967295.0,
                                4294967296.0, 2147483648.0, 0.0, -0.0}) {
        for (Apply const operation : operations) {
            for (QelXyCoordSpace space : spaces) {
                std::string const before = stateOf(space);
                QelXyCoordSpace changed(space);
                try {
                    operation(changed, number);
                    ++done;
                } catch (ZanError const &) {
                    ++refused;
                }
                EXPECT_EQ(before, stateOf(space));
                EXPECT_EQ(changed.xDimension().numResolutions(),
                          changed.yDimension().numResolutions());
            }
        }
    }
    std::cout << done << " done, " << refused << " refused\n";
    EXPECT_LT(0, done);
    EXPECT_LT(0, refused);
}

}  // namespace
