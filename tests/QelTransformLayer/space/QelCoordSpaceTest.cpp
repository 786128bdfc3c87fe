#include "QelCoordSpace.h"

#include <sstream>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "QelXyBox.h"
#include "SpaceTesting.h"

namespace {

using Owned = QelCoordSpace::OwnedDimension;

Owned owned(char const * name, QelValue const & width) {
    return std::make_unique<QelDimension>(name, width);
}

QelCoordSpace lengthAndTime() {
    return {owned("length", inches(10)), owned("time", QelValue(60, QEL_UNIT_SECOND))};
}

std::string namesOf(QelCoordSpace const & space) {
    std::string names;
    for (unsigned i = 0; i < space.numDimensions(); ++i)
        names += space.dimension(i).name() + ' ';
    return names;
}

double widthOf(QelCoordSpace const & space, unsigned index) {
    return space.dimension(index).width().value();
}

TEST(QelCoordSpaceTest, ConstructorsRefuseNull) {
    constexpr char const * refusal = "Null pointer passed to QelCoordSpace ctr";
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelCoordSpace{Owned()}; });
    expectRaises(QelErrorCode::nullPointer, refusal,
                 [] { QelCoordSpace(Owned(), owned("y", inches(1))); });
    expectRaises(QelErrorCode::nullPointer, refusal,
                 [] { QelCoordSpace(owned("x", inches(1)), Owned()); });
    expectRaises(QelErrorCode::nullPointer, refusal, [] { QelCoordSpace{std::vector<Owned>()}; });
    // The others of the list go as well: a leak would be reported.
    expectRaises(QelErrorCode::nullPointer, refusal, [] {
        std::vector<Owned> list;
        list.push_back(owned("x", inches(1)));
        list.push_back(nullptr);
        list.push_back(owned("z", inches(1)));
        QelCoordSpace{std::move(list)};
    });
}

TEST(QelCoordSpaceTest, HasItsDimensionsInOrder) {
    QelCoordSpace const one(owned("only", inches(1)));
    EXPECT_EQ("only ", namesOf(one));
    QelCoordSpace const two = lengthAndTime();
    EXPECT_EQ("length time ", namesOf(two));
    std::vector<Owned> list;
    for (char const * name : {"a", "b", "c"})
        list.push_back(owned(name, inches(1)));
    QelCoordSpace const three(std::move(list));
    EXPECT_EQ("a b c ", namesOf(three));
    EXPECT_EQ(2U, three.indexOf("c"));
}

TEST(QelCoordSpaceTest, ChangesDimensionsOneByOneOrAll) {
    QelCoordSpace space = lengthAndTime();
    space.setDimensionUnit(0, QEL_UNIT_CENTIMETER);
    EXPECT_DOUBLE_EQ(25.4, widthOf(space, 0));
    space.scaleDimension(1, 2.0);
    EXPECT_EQ(120.0, widthOf(space, 1));
    space.scale(0.5);
    EXPECT_DOUBLE_EQ(12.7, widthOf(space, 0));
    EXPECT_EQ(60.0, widthOf(space, 1));
    space.translateDimension(0, inches(1));
    EXPECT_DOUBLE_EQ(2.54, space.dimension(0).origin().value());
    space.setUnit(QEL_UNIT_ARBITRARY);
    EXPECT_EQ(0, space.dimension(0).unit());
    EXPECT_EQ(0, space.dimension(1).unit());
}

TEST(QelCoordSpaceTest, ReplacesDimensionsByIndexOrName) {
    QelCoordSpace space = lengthAndTime();
    space.setDimension(0, QelDimension("depth", inches(3)));
    EXPECT_EQ("depth time ", namesOf(space));
    space.setDimension(QelDimension("time", QelValue(5, QEL_UNIT_HOUR)));
    EXPECT_EQ(5.0, widthOf(space, 1));
    // One of its own.
    space.setDimension(0, space.dimension(1));
    EXPECT_EQ("time time ", namesOf(space));
}

TEST(QelCoordSpaceTest, SetsExtents) {
    QelCoordSpace space = lengthAndTime();
    QelBox box(2);
    box.setRange(0, {centimeters(2.54), centimeters(5.08), 0, true, true});
    box.setRange(1, {QelValue(1, QEL_UNIT_MINUTE), QelValue(2, QEL_UNIT_MINUTE), 0, true, true});
    space.setExtentsBox(box);
    EXPECT_DOUBLE_EQ(1.0, space.dimension(0).origin().value());
    EXPECT_DOUBLE_EQ(2.0, widthOf(space, 0));
    EXPECT_DOUBLE_EQ(120.0, widthOf(space, 1));
}

TEST(QelCoordSpaceTest, AddsMovesAndRemovesDimensions) {
    QelCoordSpace space = lengthAndTime();
    space.addDimension(owned("last", inches(1)));
    space.insertDimension(owned("first", inches(1)), 0);
    space.insertDimension(owned("before time", inches(1)), "time");
    space.insertDimension(owned("end", inches(1)), 5);
    EXPECT_EQ("first length before time time last end ", namesOf(space));
    space.swapDimensions(0, 5);
    space.swapDimensions(2, 2);
    space.removeDimension(2);
    space.renameDimension(1, "size");
    EXPECT_EQ("end size time last first ", namesOf(space));
}

TEST(QelCoordSpaceTest, Refusals) {
    QelCoordSpace space = lengthAndTime();
    constexpr char const * badIndex = "index value 2 into coord space with 2 dimensions";
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.dimension(2));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.setDimensionUnit(2, 0));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.scaleDimension(2, 2));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space,
                   space.translateDimension(2, inches(1)));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space,
                   space.setDimension(2, space.dimension(0)));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.removeDimension(2));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.renameDimension(2, "z"));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.swapDimensions(0, 2));
    EXPECT_REFUSED(QelErrorCode::outOfRange, badIndex, space, space.swapDimensions(2, 0));
    EXPECT_REFUSED(QelErrorCode::outOfRange, "index value 3 into coord space with 2 dimensions",
                   space, space.insertDimension(owned("z", inches(1)), 3));
    constexpr char const * badName = "Could not locate dimension named \"z\" in coordinate space";
    EXPECT_REFUSED(QelErrorCode::noSuchDimension, badName, space, space.indexOf("z"));
    EXPECT_REFUSED(QelErrorCode::noSuchDimension, badName, space,
                   space.insertDimension(owned("a", inches(1)), "z"));
    EXPECT_REFUSED(QelErrorCode::noSuchDimension, badName, space,
                   space.setDimension(QelDimension("z", inches(1))));
    EXPECT_REFUSED(QelErrorCode::nullPointer,
                   "Null pointer passed to QelCoordSpace::insertDimension", space,
                   space.addDimension(nullptr));
    EXPECT_REFUSED(QelErrorCode::countsDiffer,
                   "3-dimensional box passed to setExtentsBox( ) on 2-dimensional coord space",
                   space, space.setExtentsBox(QelBox(3)));
    QelCoordSpace one(owned("only", inches(1)));
    EXPECT_REFUSED(QelErrorCode::unsupported, "Cannot remove the only dimension of a coord space",
                   one, one.removeDimension(0));
}

TEST(QelCoordSpaceTest, WhatFailsForOneDimensionChangesNone) {
    QelCoordSpace space = lengthAndTime();
    EXPECT_REFUSED(QelErrorCode::cannotConvertUnit,
                   "Cannot convert from unit seconds (id = 6) to unit inches (id = 43)", space,
                   space.setUnit(QEL_UNIT_INCH));
    space.addDimension(owned("part", normalized(1)));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot scale dimension defined in units of \"normalized units\"", space,
                   space.scale(2.0));
    EXPECT_REFUSED(QelErrorCode::unsuitableUnit,
                   "Cannot change width of dimension defined in units of \"normalized units\"",
                   space, space.setExtentsBox(QelBox(3)));
}

TEST(QelCoordSpaceTest, AChangeOfOneCopyNeverShowsInAnother) {
    using Change = void (*)(QelCoordSpace &);
    Change const changes[] = {
        [](QelCoordSpace & s) { s.setDimensionUnit(0, QEL_UNIT_CENTIMETER); },
        [](QelCoordSpace & s) { s.setUnit(QEL_UNIT_ARBITRARY); },
        [](QelCoordSpace & s) { s.scaleDimension(0, 2.0); },
        [](QelCoordSpace & s) { s.scale(2.0); },
        [](QelCoordSpace & s) { s.translateDimension(0, inches(1)); },
        [](QelCoordSpace & s) { s.setDimension(0, QelDimension("z", inches(1))); },
        [](QelCoordSpace & s) { s.setDimension(QelDimension("time", inches(1))); },
        [](QelCoordSpace & s) { s.setExtentsBox(QelBox(2)); },
        [](QelCoordSpace & s) { s.addDimension(owned("z", inches(1))); },
        [](QelCoordSpace & s) { s.insertDimension(owned("z", inches(1)), 0); },
        [](QelCoordSpace & s) { s.insertDimension(owned("z", inches(1)), "time"); },
        [](QelCoordSpace & s) { s.removeDimension(0); },
        [](QelCoordSpace & s) { s.renameDimension(0, "z"); },
        [](QelCoordSpace & s) { s.swapDimensions(0, 1); },
    };
    int row = 0;
    for (Change const change : changes) {
        SCOPED_TRACE(row++);
        QelCoordSpace original = lengthAndTime();
        QelCoordSpace const copy(original);
        QelCoordSpace assigned(owned("other", inches(1)));
        assigned = copy;
        MoxSmartPtr<QelCoordSpace> const clone = copy.clone();
        std::string const before = stateOf(copy);
        // Shared until the change.
        EXPECT_EQ(&original.dimension(0), &copy.dimension(0));
        EXPECT_EQ(&original.dimension(0), &clone->dimension(0));
        change(original);
        EXPECT_NE(before, stateOf(original));
        EXPECT_EQ(before, stateOf(copy));
        EXPECT_EQ(before, stateOf(assigned));
        EXPECT_EQ(before, stateOf(*clone));
        EXPECT_EQ(&assigned.dimension(0), &copy.dimension(0));
    }
}

TEST(QelCoordSpaceTest, PrintsNamesAndRanges) {
    std::ostringstream out;
    out << lengthAndTime();
    EXPECT_EQ("QelCoordSpace[length=[0 inches, 10 inches], time=[0 seconds, 60 seconds]]",
              out.str());
}

}  // namespace
