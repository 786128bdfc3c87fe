#pragma once

#include <limits>
#include <string>
#include <vector>

#include "ClientTransformTesting.h"

// What the tests of convolving transforms share.

inline QelNumberList square(std::int32_t side, double weight = 1) {
    return {std::vector<double>(static_cast<std::size_t>(side * side), weight)};
}

inline std::string impossibleKernel(int weights) {
    return "A kernel of " + std::to_string(weights) +
           " weights is impossible; their number must be 1, 9, 25 or another square of an odd "
           "number up to 129";
}

// `transform` is connected.
inline void expectRefusesKernels(QelTransform & transform, std::string const & name) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    std::string const start = "The value of " + name + ":kernel is ";
    std::string const end = ", it must lie between -1000000 and 1000000";
    for (BadValue<QelNumberList> const & row : std::vector<BadValue<QelNumberList>>{
             {"kernel", {{1, 2}}, impossibleKernel(2), {{1}}},
             {"kernel", square(2), impossibleKernel(4), square(3)},
             {"kernel", square(4), impossibleKernel(16), square(5, -2)},
             {"kernel", square(131), impossibleKernel(17161), square(129)},
             {"kernel", {{1000000.5}}, start + "1000000.5" + end, {{1e6}}},
             {"kernel", {{1, 1, 1, 1, -1e7, 1, 1, 1, 1}}, start + "-10000000" + end, {{-1e6}}},
             {"kernel", {{nan}}, start + "nan" + end, {{0}}},
             {"kernel", {{1, infinity}}, start + "inf" + end, square(3, 0)}}) {
        expectRefusedWhileBad(transform, row);
    }
}

inline void expectRefusesRadii(QelTransform & transform, std::string const & name) {
    std::string const start = "The value of " + name + ":radius is ";
    std::string const end = ", it must lie between 1 and 64";
    for (BadValue<int> const & row :
         std::vector<BadValue<int>>{{"radius", -1, start + "-1" + end, 1},
                                    {"radius", 65, start + "65" + end, 64},
                                    {"radius", 2147483647, start + "2147483647" + end, 2},
                                    {"radius", -64, start + "-64" + end, 0}}) {
        expectRefusedWhileBad(transform, row);
    }
}

// A radius and a kernel are refused together; taking either of them back mends it.
inline void expectRefusesBoth(QelTransform & transform, std::string const & name) {
    std::string const text = "The operation " + name + " takes a radius or a kernel, not both";
    transform.setAttributeValue("radius", 3);
    expectGood(transform);
    for (QelNumberList const & kernel : {square(3), QelNumberList{{1, 2}}}) {
        transform.setAttributeValue("kernel", kernel);
        expectBad(transform, QelErrorCode::invalidValue, text);
    }
    transform.setAttributeValue("kernel", QelNumberList());
    expectGood(transform);
    transform.setAttributeValue("kernel", square(5));
    expectBad(transform, QelErrorCode::invalidValue, text);
    transform.setAttributeValue("radius", 0);
    expectGood(transform);
}

// What an image of 100 by 80 has to give for some parts of the output, with a reach of 1.
inline std::vector<Reach> const & slightReaches() {
    static std::vector<Reach> const table{
        {{40, 30, 10, 5}, {39, 29, 12, 7}}, {{0, 0, 1, 1}, {0, 0, 2, 2}},
        {{99, 79, 1, 1}, {98, 78, 2, 2}},   {{0, 20, 100, 1}, {0, 19, 100, 3}},
        {{0, 0, 100, 80}, {0, 0, 100, 80}}, {{1, 1, 98, 78}, {0, 0, 100, 80}}};
    return table;
}

// The reach of kernels, as the pixels outside tell: they change nothing, and those at the rim do.
inline void expectKernelsReach(QelTransform & transform, Random & random) {
    for (std::int32_t const side : {1, 3, 5, 9, 129}) {
        SCOPED_TRACE(side);
        transform.setAttributeValue("kernel", square(side));
        expectReach(transform, side / 2, random);
    }
}

// Pixels that a part of the output does not ask for make no difference to it.
inline void expectNeedsNoMore(QelTransform & transform, Random & random) {
    for (int round = 0; round < 10; ++round) {
        MoxSmartPtr<QelRectBuffer> const picture =
            randomPicture(random, 100, 80, 1, QelDataType::UChar);
        MoxSmartPtr<QelTransform> const source = new PicturesTransform(picture);
        transform.connect(0, source.get(), 0);
        QelRect const part = random.rectIn(QelRect(30, 20, 40, 40));
        QelRect const needed = neededFor(transform, part);
        QelImageRequestDesc const request(regionOf(transform, part));
        MoxSmartPtr<QelRectBuffer> const before = outputOf(transform).getData(&request, true);

        MoxSmartPtr<QelRectBuffer> const other =
            randomPicture(random, 100, 80, 1, QelDataType::UChar);
        fillPixels(*other, needed, pixelsOf(*picture));
        MoxSmartPtr<QelTransform> const changed = new PicturesTransform(other);
        transform.connect(0, changed.get(), 0);
        MoxSmartPtr<QelRectBuffer> const after = outputOf(transform).getData(&request, true);
        ASSERT_TRUE(before && after);
        EXPECT_TRUE(showsPixels(*after, part, pixelsOf(*before))) << part << " of " << needed;
    }
}

// The rim is counted in pixels of the resolution that is asked for.
inline void expectReachAtEachResolution(QelTransform & transform, std::int32_t reach,
                                        Random & random) {
    MoxSmartPtr<QelTransform> const source =
        new PicturesTransform(std::vector{randomPicture(random, 100, 80, 1, QelDataType::UChar),
                                          randomPicture(random, 50, 40, 1, QelDataType::UChar)});
    transform.connect(0, source.get(), 0);
    expectGood(transform);
    for (QelRect const & image : {QelRect(0, 0, 100, 80), QelRect(0, 0, 50, 40)}) {
        MoxSmartPtr<QelXySimpleRegion> const region = outputOf(transform).getMaxResRegion();
        region->selectResolution(static_cast<std::uint32_t>(image.width),
                                 static_cast<std::uint32_t>(image.height));
        for (int round = 0; round < 10; ++round) {
            QelRect const rect = random.rectIn(image);
            region->setPixelBounds(rect);
            MoxSmartPtr<QelXyRegion> const needed = transform.getInputRegion(*region, 0, 0);
            ASSERT_TRUE(needed);
            EXPECT_EQ(grown(rect, reach, image), needed->pixelBounds()) << rect << " of " << image;
            EXPECT_EQ(image.width, needed->xyCoordSpace()->selectedPixelWidth());
            EXPECT_EQ(image.height, needed->xyCoordSpace()->selectedPixelHeight());
        }
        // In inches, which become whole pixels.
        auto const inches = [](double value) { return QelValue(value, QEL_UNIT_INCH); };
        QelXySimpleRegion const part(region->xyCoordSpace().get(), inches(0.2), inches(0.1),
                                     inches(0.45), inches(0.65));
        ASSERT_FALSE(part.pixelBounds().isEmpty());
        EXPECT_EQ(grown(part.pixelBounds(), reach, image),
                  transform.getInputRegion(part, 0, 0)->pixelBounds());
    }
}

// Bad statuses of an operation that needs its input.
inline void expectNeedsItsInput(QelTransform & transform) {
    transform.setLabel("here");
    transform.disconnect(0);
    std::string const self = "here(" + transform.getClassName() + ")";
    expectBad(transform, QelErrorCode::notConnected,
              "Input in of transform " + self + " is not connected\nTransform " + self +
                  " has invalid inputs");
}
