#include <limits>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyCoordSpace.h"
#include "SpaceTesting.h"

// Scaling of extents and of the sampling, and transposition.

namespace {

using Resolution = QelXyCoordSpace::Resolution;
using Scale = void (*)(QelXyCoordSpace &, double factor, bool keepDpu);

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

QelResolution samples(std::uint32_t count) {
    return QelResolution::ofPixels(count);
}

// 10 by 20 inches from (1, 2), with rows of 1000 by 1000 (selected) and 500 by any.
QelXyCoordSpace physical() {
    QelXyCoordSpace space(inches(10), inches(20));
    space.setOrigin(0, inches(1));
    space.setOrigin(1, inches(2));
    space.addResolution(1000, 1000);
    space.addResolution({samples(500), {}});
    space.selectResolution(1000, 1000);
    return space;
}

struct Case {
    char const * name;
    Scale scale;
    bool x;
    bool y;
    bool moves;  // the origin, too
};

Case const scalings[] = {
    {"scale", [](QelXyCoordSpace & s, double f, bool k) { s.scale(f, k); }, true, true, true},
    {"scaleXY", [](QelXyCoordSpace & s, double f, bool k) { s.scaleXY(f, k); }, true, true, true},
    {"scaleX", [](QelXyCoordSpace & s, double f, bool k) { s.scaleX(f, k); }, true, false, true},
    {"scaleY", [](QelXyCoordSpace & s, double f, bool k) { s.scaleY(f, k); }, false, true, true},
    {"scaleDimension(0)", [](QelXyCoordSpace & s, double f, bool k) { s.scaleDimension(0, f, k); },
     true, false, true},
    {"scaleDimension(1)", [](QelXyCoordSpace & s, double f, bool k) { s.scaleDimension(1, f, k); },
     false, true, true},
    {"scaleWidth", [](QelXyCoordSpace & s, double f, bool k) { s.scaleWidth(f, k); }, true, false,
     false},
    {"scaleHeight", [](QelXyCoordSpace & s, double f, bool k) { s.scaleHeight(f, k); }, false, true,
     false},
    {"scaleWidthHeight", [](QelXyCoordSpace & s, double f, bool k) { s.scaleWidthHeight(f, k); },
     true, true, false},
};

void expectAxis(QelXyDimension const & axis, QelResolution const & selected, double origin,
                double width, double dpu) {
    EXPECT_DOUBLE_EQ(origin, axis.origin().value());
    EXPECT_DOUBLE_EQ(width, axis.width().value());
    EXPECT_DOUBLE_EQ(dpu, axis.resolution(0).dpu);
    EXPECT_EQ(static_cast<std::uint32_t>(dpu * width + 0.5), axis.resolution(0).pixels);
    EXPECT_DOUBLE_EQ(dpu, selected.dpu);
    EXPECT_EQ(axis.resolution(0).pixels, selected.pixels);
}

TEST(QelXyCoordSpaceScaleTest, ScalesExtentsAndKeepsSamplesOrDotsPerUnit) {
    for (Case const & each : scalings) {
        for (bool const keepDpu : {false, true}) {
            SCOPED_TRACE(each.name);
            QelXyCoordSpace space = physical();
            each.scale(space, 2.5, keepDpu);
            double const fx = each.x ? 2.5 : 1.0;
            double const fy = each.y ? 2.5 : 1.0;
            expectAxis(space.xDimension(), space.selectedResolution().horz,
                       each.moves ? 1 * fx : 1.0, 10 * fx, keepDpu ? 100 : 100 / fx);
            expectAxis(space.yDimension(), space.selectedResolution().vert,
                       each.moves ? 2 * fy : 2.0, 20 * fy, keepDpu ? 50 : 50 / fy);
            EXPECT_TRUE(space.getResolution(1).vert.isArbitrary());
        }
    }
}

TEST(QelXyCoordSpaceScaleTest, ANegativeFactorMirrors) {
    QelXyCoordSpace space = physical();
    space.scaleX(-2.0, true);
    expectAxis(space.xDimension(), space.selectedResolution().horz, -22, 20, 100);
    space.scaleY(-1.0, false);
    expectAxis(space.yDimension(), space.selectedResolution().vert, -22, 20, 50);
}

TEST(QelXyCoordSpaceScaleTest, ThePlainFormsKeepSamples) {
    QelXyCoordSpace plain = physical();
    QelXyCoordSpace same = physical();
    plain.scale(2.0);
    same.scaleXY(2.0, false);
    EXPECT_EQ(stateOf(same), stateOf(plain));
    plain.scaleDimension(0, 3.0);
    same.scaleX(3.0, false);
    EXPECT_EQ(stateOf(same), stateOf(plain));
}

TEST(QelXyCoordSpaceScaleTest, InPixelsTheSizeChanges) {
    for (Case const & each : scalings) {
        SCOPED_TRACE(each.name);
        QelXyCoordSpace space(640, 480);
        each.scale(space, 0.5, false);
        EXPECT_EQ(each.x ? 320U : 640U, space.numPixelsWide());
        EXPECT_EQ(each.y ? 240U : 480U, space.numPixelsHigh());
        EXPECT_EQ(each.x ? 320.0 : 640.0, space.width().value());
        EXPECT_EQ(1.0, space.selectedResolution().horz.dpu);
        EXPECT_EQ(0.0, space.xDimension().origin().value());
    }
}

TEST(QelXyCoordSpaceScaleTest, FactorsAreRefused) {
    for (Case const & each : scalings) {
        SCOPED_TRACE(each.name);
        QelXyCoordSpace space = physical();
        std::string const what = each.moves ? (each.x ? "x dimension by " : "y dimension by ")
                                            : (each.x ? "width by " : "height by ");
        std::string const start = "Cannot scale coord space " + what;
        EXPECT_REFUSED(QelErrorCode::illegalFactor, start + "0", space,
                       each.scale(space, 0.0, true));
        if (each.moves) {
            constexpr char const * nothing =
                "scale( ) of dimension object resulted in dimension where width is <= 0.0";
            EXPECT_REFUSED(QelErrorCode::illegalWidth, nothing, space,
                           each.scale(space, nan, true));
            EXPECT_REFUSED(QelErrorCode::illegalWidth, nothing, space,
                           each.scale(space, 1e-300, false));
        } else {
            EXPECT_REFUSED(QelErrorCode::illegalFactor, start + "-2.5", space,
                           each.scale(space, -2.5, true));
            EXPECT_REFUSED(QelErrorCode::illegalFactor, start + "nan", space,
                           each.scale(space, nan, false));
        }
        QelXyCoordSpace part(QEL_UNIT_NORMALIZED);
        std::string const relative =
            each.moves ? "Cannot scale dimension" : "Cannot change width of dimension";
        EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                       relative + " defined in units of \"normalized units\"", part,
                       each.scale(part, 2.0, true));
    }
}

// The second axis is refused when the first is scaled already.
TEST(QelXyCoordSpaceScaleTest, BothAxesOrNone) {
    QelXyCoordSpace space(inches(10), inches(10));
    space.addResolution(1000, 1);
    space.selectResolution(1000, 1);
    Scale const both[] = {scalings[0].scale, scalings[1].scale, scalings[8].scale};
    for (Scale const scale : both) {
        std::string const before = stateOf(space);
        std::optional<ZanError> const error = errorOf([&] { scale(space, 0.1, true); });
        ASSERT_TRUE(error);
        EXPECT_EQ(QelErrorCode::noSamples, error->getErrcode());
        EXPECT_EQ(before, stateOf(space));
    }
}

TEST(QelXyCoordSpaceScaleTest, SamplesByFactors) {
    QelXyCoordSpace space = physical();
    space.scalePixels(0.5, 0.25, true);
    EXPECT_EQ(500U, space.getResolution(0).horz.pixels);
    EXPECT_EQ(250U, space.getResolution(0).vert.pixels);
    EXPECT_EQ(250U, space.getResolution(1).horz.pixels);
    EXPECT_TRUE(space.getResolution(1).vert.isArbitrary());
    EXPECT_EQ(500U, space.numPixelsWide());
    EXPECT_EQ(250U, space.numPixelsHigh());
    EXPECT_EQ(10.0, space.width().value());
    EXPECT_DOUBLE_EQ(50.0, space.selectedResolution().horz.dpu);
    space.scalePixels(2.0, 2.0, false);
    EXPECT_FALSE(space.hasSelectedResolution());
}

TEST(QelXyCoordSpaceScaleTest, SamplesByARatio) {
    QelXyCoordSpace space = physical();
    space.scalePixels(3, 2, true);
    EXPECT_EQ(666U, space.getResolution(0).horz.pixels);
    EXPECT_EQ(333U, space.getResolution(1).horz.pixels);
    EXPECT_EQ(666U, space.numPixelsWide());
    EXPECT_EQ(666U, space.numPixelsHigh());
    // A ratio of 1 leaves the selection alone.
    space.scalePixels(7, 7, false);
    EXPECT_EQ(666U, space.numPixelsHigh());
    space.scalePixels(2, 1, false);
    EXPECT_FALSE(space.hasSelectedResolution());
}

TEST(QelXyCoordSpaceScaleTest, SamplesOfAnArbitraryHalf) {
    QelXyCoordSpace space = physical();
    space.selectResolution(500, 101);
    space.scalePixels(1.0, 0.5, true);
    EXPECT_EQ(500U, space.numPixelsWide());
    EXPECT_EQ(50U, space.numPixelsHigh());
    // Less than one cannot be selected.
    EXPECT_REFUSED(QelErrorCode::unsuitableResolution,
                   "Could not reselect resolution after scaling coordinate space resolution "
                   "information",
                   space, space.scalePixels(1.0, 0.015, true));
}

TEST(QelXyCoordSpaceScaleTest, SamplesInPixels) {
    QelXyCoordSpace space(640, 480);
    space.scalePixels(0.5, 2.0, false);
    EXPECT_EQ(320U, space.numPixelsWide());
    EXPECT_EQ(960U, space.numPixelsHigh());
    space.scalePixels(3, 1, true);
    EXPECT_EQ(106U, space.numPixelsWide());
    EXPECT_EQ(320.0, space.height().value());
}

TEST(QelXyCoordSpaceScaleTest, SamplesAreRefused) {
    QelXyCoordSpace space = physical();
    QelXyCoordSpace gone = space;
    gone.removeResolution(0);
    constexpr char const * lost =
        "Could not reselect resolution after scaling coordinate space resolution information";
    EXPECT_REFUSED(QelErrorCode::unsuitableResolution, lost, gone,
                   gone.scalePixels(0.5, 0.5, true));
    EXPECT_REFUSED(QelErrorCode::unsuitableResolution, lost, gone, gone.scalePixels(2, 1, true));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by 0", space,
                   space.scalePixels(0.0, 1.0, true));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale number of pixels by -1", space,
                   space.scalePixels(1.0, -1.0, true));
    EXPECT_REFUSED(QelErrorCode::noSamples,
                   "scaling pixel value 1000 by scale factor 0.0001 results in zero pixels", space,
                   space.scalePixels(0.5, 0.0001, true));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Cannot scale resolution information by zero",
                   space, space.scalePixels(1, 0, true));
    EXPECT_REFUSED(QelErrorCode::illegalFactor, "Denominator of ratio is zero", space,
                   space.scalePixels(0, 1, true));
}

// The edge case: (640, 480) becomes (480, 640), and the selection follows.
TEST(QelXyCoordSpaceScaleTest, SwapXYTransposes) {
    QelXyCoordSpace pixel(640, 480);
    pixel.swapXY();
    EXPECT_EQ(stateOf(QelXyCoordSpace(480, 640)), stateOf(pixel));

    QelXyCoordSpace space = physical();
    space.selectResolution(500, 77);
    std::string const before = stateOf(space);
    space.swapXY();
    EXPECT_EQ("x", space.xDimension().name());
    EXPECT_EQ("y", space.yDimension().name());
    EXPECT_EQ(20.0, space.width().value());
    EXPECT_EQ(2.0, space.xDimension().origin().value());
    EXPECT_EQ(77U, space.numPixelsWide());
    EXPECT_EQ(500U, space.numPixelsHigh());
    EXPECT_TRUE(space.getResolution(1).horz.isArbitrary());
    EXPECT_EQ(500U, space.getResolution(1).vert.pixels);
    space.swapXY();
    EXPECT_EQ(before, stateOf(space));
}

}  // namespace
