#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "RegionTesting.h"

// Copies share what they have, and never show each other's changes; what is kept of conversions is
// never stale.

namespace {

constexpr int inch = QEL_UNIT_INCH;

struct Mutator {
    char const * name;
    std::function<void(QelXySimpleRegion &)> change;
};

MoxSmartPtr<QelXyCoordSpace> someSpace() {
    MoxSmartPtr<QelXyCoordSpace> space = sampledSpace(8.0, 4.0, 800, 400);
    space->addResolution(80, 40);
    return space;
}

MoxSmartPtr<QelXySimpleRegion> someRegion() {
    return regionOf(someSpace(), boxIn(inch, 1.0, 1.0, 5.0, 2.0));
}

void readOther(QelXySimpleRegion & region) {
    std::istringstream text(
        "[QelXyCoordSpace[w=3 inches,h=2 inches] , QelXyBox[x=1 inches, y=1 inches, w=1 inches, "
        "h=1 inches]]");
    region.read(text);
}

// All that changes a region, each so that something shows.
std::vector<Mutator> const & mutators() {
    static std::vector<Mutator> const all = {
        {"setCoordSpace", [](auto & r) { r.setCoordSpace(pixelSpace(16, 16)); }},
        {"setPixelBounds",
         [](auto & r) {
             r.setPixelBounds({1, 2, 3, 4});
         }},
        {"setBox", [](auto & r) { r.setBox(boxIn(inch, 2.0, 2.0, 1.0, 1.0)); }},
        {"setResolution", [](auto & r) { r.setResolution(8, 4); }},
        {"selectResolution", [](auto & r) { r.selectResolution(80, 40); }},
        {"scaleX", [](auto & r) { r.scaleX(0.5, false); }},
        {"scaleY", [](auto & r) { r.scaleY(0.5, true); }},
        {"scaleXY", [](auto & r) { r.scaleXY(0.5, false); }},
        {"scaleWidth", [](auto & r) { r.scaleWidth(0.5, true); }},
        {"scaleHeight", [](auto & r) { r.scaleHeight(0.5, false); }},
        {"scaleWidthHeight", [](auto & r) { r.scaleWidthHeight(0.25, false); }},
        {"scalePixels by factors", [](auto & r) { r.scalePixels(0.5, 0.5, true); }},
        {"scalePixels by a ratio", [](auto & r) { r.scalePixels(4, 1, true); }},
        {"read", readOther},
        {"assignment", [](auto & r) { r = *regionOf(pixelSpace(9, 9), pixelBoxAt(1, 1, 2, 2)); }},
    };
    return all;
}

// All there is to see of a region. Asks first for the unit that it asked for last before, so that a
// stale conversion would show.
std::string viewOf(QelXySimpleRegion const & region) {
    std::ostringstream text;
    text.precision(17);
    for (int const unit : {QEL_UNIT_PIXEL, QEL_UNIT_NORMALIZED, QEL_UNIT_PIXEL}) {
        try {
            text << region.xRange(unit) << region.yRange(unit) << '\n';
        } catch (ZanError const & error) {
            text << error.getMsg() << '\n';
        }
    }
    return text.str() + textOf(region);
}

}  // namespace

TEST(QelXyRegionShareTest, CopiesShareSpaceAndBox) {
    MoxSmartPtr<QelXySimpleRegion> const region = someRegion();
    MoxSmartPtr<QelXySimpleRegion> const copy(new QelXySimpleRegion(*region));
    MoxSmartPtr<QelXySimpleRegion> const assigned(new QelXySimpleRegion);
    *assigned = *region;
    MoxSmartPtr<QelRegion> const cloned = region->clone();
    auto const * const clone = dynamic_cast<QelXySimpleRegion const *>(cloned.get());
    ASSERT_NE(nullptr, clone);
    QelXySimpleRegion const * const copies[] = {copy, assigned, clone};
    for (QelXySimpleRegion const * each : copies) {
        EXPECT_EQ(region->box().get(), each->box().get());
        EXPECT_EQ(region->xyCoordSpace().get(), each->xyCoordSpace().get());
        EXPECT_EQ(region->coordSpace().get(), each->coordSpace().get());
        EXPECT_EQ(1, each->refCount());
    }
}

TEST(QelXyRegionShareTest, EveryMutatorChangesItsOwnRegionOnly) {
    for (Mutator const & mutator : mutators()) {
        SCOPED_TRACE(mutator.name);
        for (int changed = 0; changed < 3; ++changed) {
            MoxSmartPtr<QelXySimpleRegion> const first = someRegion();
            std::string const before = viewOf(*first);
            MoxSmartPtr<QelXySimpleRegion> const second(new QelXySimpleRegion(*first));
            MoxSmartPtr<QelXySimpleRegion> const third(new QelXySimpleRegion(*second));
            MoxSmartPtr<QelXySimpleRegion> const all[] = {first, second, third};
            mutator.change(*all[changed]);
            for (int i = 0; i < 3; ++i) {
                if (i == changed) {
                    EXPECT_NE(before, viewOf(*all[i]));
                } else {
                    EXPECT_EQ(before, viewOf(*all[i]));
                }
            }
        }
    }
}

TEST(QelXyRegionShareTest, AMutatorLeavesNoStaleConversion) {
    for (Mutator const & mutator : mutators()) {
        SCOPED_TRACE(mutator.name);
        MoxSmartPtr<QelXySimpleRegion> const asked = someRegion();
        viewOf(*asked);  // pixels are kept now
        MoxSmartPtr<QelXySimpleRegion> const fresh = someRegion();
        mutator.change(*asked);
        mutator.change(*fresh);
        EXPECT_EQ(viewOf(*fresh), viewOf(*asked));
    }
}

TEST(QelXyRegionShareTest, MutatorsInARowActAsOnARegionOfItsOwn) {
    for (Mutator const & one : mutators()) {
        for (Mutator const & two : mutators()) {
            SCOPED_TRACE(testing::Message() << one.name << ", then " << two.name);
            MoxSmartPtr<QelXySimpleRegion> const alone = someRegion();
            MoxSmartPtr<QelXySimpleRegion> const shared = someRegion();
            MoxSmartPtr<QelXySimpleRegion> const keeper(new QelXySimpleRegion(*shared));
            std::string outcome[2];
            int i = 0;
            for (QelXySimpleRegion * region : {alone.get(), shared.get()}) {
                one.change(*region);
                MoxSmartPtr<QelXySimpleRegion> const between(i == 1 ? new QelXySimpleRegion(*region)
                                                                    : nullptr);
                try {
                    two.change(*region);
                } catch (ZanError const & error) {
                    outcome[i] = error.getMsg();
                }
                outcome[i++] += viewOf(*region);
            }
            EXPECT_EQ(outcome[0], outcome[1]);
            EXPECT_EQ(viewOf(*someRegion()), viewOf(*keeper));
        }
    }
}

TEST(QelXyRegionShareTest, TheCallersSpaceAndBoxStayTheCallers) {
    MoxSmartPtr<QelXyCoordSpace> const space = someSpace();
    QelXyBox box = boxIn(inch, 1.0, 1.0, 5.0, 2.0);
    MoxSmartPtr<QelXySimpleRegion> const region = regionOf(space, box);
    std::string const before = viewOf(*region);
    space->scaleX(0.25, true);
    space->clearSelection();
    box.setRange(0, continuous(0.0, 0.5, inch));
    EXPECT_EQ(before, viewOf(*region));
    MoxSmartPtr<QelXyCoordSpace> const next = someSpace();
    region->setCoordSpace(next);
    std::string const then = viewOf(*region);
    next->scaleY(0.25, true);
    EXPECT_EQ(then, viewOf(*region));
}

TEST(QelXyRegionShareTest, AssigningARegionToItselfChangesNothing) {
    MoxSmartPtr<QelXySimpleRegion> const region = someRegion();
    std::string const before = viewOf(*region);
    QelXySimpleRegion & same = *region;
    *region = same;
    EXPECT_EQ(before, viewOf(*region));
}

TEST(QelXyRegionShareTest, AskingForAnotherUnitReplacesTheKeptRange) {
    MoxSmartPtr<QelXySimpleRegion> const region = someRegion();
    for (int round = 0; round < 3; ++round) {
        expectRange(continuous(2.54, 12.7, QEL_UNIT_CENTIMETER),
                    region->xRange(QEL_UNIT_CENTIMETER));
        expectRange(wholePixels(100, 500), region->xRange(QEL_UNIT_PIXEL));
        expectRange(continuous(1.0, 5.0, inch), region->xRange(inch));
        expectRange(continuous(0.25, 0.5, QEL_UNIT_NORMALIZED),
                    region->yRange(QEL_UNIT_NORMALIZED));
        expectRange(wholePixels(100, 200), region->yRange(QEL_UNIT_PIXEL));
    }
}
