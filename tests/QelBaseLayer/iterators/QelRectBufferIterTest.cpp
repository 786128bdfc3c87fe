#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "IterTesting.h"
#include "QelRectBufferIter.h"

// The typed forms, and walks over random buffers against three nested loops.

namespace {

constexpr std::uint32_t seed = 20272;

struct Walk {
    QelRect rect;
    std::int32_t order;
    bool reverseX;
    bool reverseY;
};

struct Place {
    std::int32_t x;
    std::int32_t y;
    int band;
};

std::vector<std::int32_t> positions(std::int32_t start, std::int32_t count, bool reversed) {
    std::vector<std::int32_t> all;
    for (std::int32_t i = 0; i < count; ++i)
        all.push_back(start + i);
    if (reversed) std::reverse(all.begin(), all.end());
    return all;
}

// Three nested loops. An order is told by the axis of its inner, middle and outer loop.
std::vector<Place> placesOf(QelRect const & rect, int bands, Walk const & walk) {
    static char const * const axes[] = {"xyb", "yxb", "bxy", "byx", "xby", "ybx"};
    std::string const order = axes[walk.order];
    std::vector<std::int32_t> const xs = positions(rect.x, rect.width, walk.reverseX);
    std::vector<std::int32_t> const ys = positions(rect.y, rect.height, walk.reverseY);
    std::vector<std::int32_t> const bs = positions(0, bands, false);
    auto const along = [&](char axis) -> std::vector<std::int32_t> const & {
        return axis == 'x' ? xs : axis == 'y' ? ys : bs;
    };
    std::vector<Place> places;
    for (std::int32_t const outer : along(order[2])) {
        for (std::int32_t const middle : along(order[1])) {
            for (std::int32_t const inner : along(order[0])) {
                auto const at = [&](char axis) {
                    return axis == order[2] ? outer : axis == order[1] ? middle : inner;
                };
                places.push_back({at('x'), at('y'), at('b')});
            }
        }
    }
    return places;
}

std::uint8_t * addressOf(QelRectBuffer & buffer, Place const & place) {
    return buffer.addressOf(place.x, place.y) + buffer.dataOrg()->offset(0, 0, place.band);
}

// A buffer of any organisation, or a view into one, that shows pictureFor() its organisation.
MoxSmartPtr<QelRectBuffer> anyBuffer(TestRandom & random) {
    QelRect const rect(random.between(-9, 9), random.between(-9, 9), random.between(1, 9),
                       random.between(1, 9));
    MoxSmartPtr<QelDataOrg> const org = anyOrg(random, rect.width, rect.height, true);
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, rect);
    buffer->allocate();
    fillPixels(*buffer, rect, pictureFor(*org));
    return random.chance(50) ? buffer : buffer->subBuffer(random.rectIn(rect));
}

Walk anyWalk(TestRandom & random, QelRect const & rect) {
    QelRect const near(rect.x + random.between(-4, 4), rect.y + random.between(-4, 4),
                       random.between(0, 12), random.between(0, 12));
    return {random.chance(30) ? rect : near, 0, random.chance(50), random.chance(50)};
}

template <class T>
void walkByNext(QelRectBuffer & buffer, Walk const & walk, std::vector<Place> const & places) {
    PixelFunction const picture = pictureFor(*buffer.dataOrg());
    QelRectBufferConstIter<T> iter(&buffer, walk.rect, walk.order, walk.reverseX, walk.reverseY);
    iter.initialize();
    for (Place const & place : places) {
        ASSERT_FALSE(iter.done());
        ASSERT_EQ(addressOf(buffer, place), iter.address());
        ASSERT_EQ(static_cast<T>(picture(place.x, place.y, place.band)), iter.get());
        iter.next();
    }
    ASSERT_TRUE(iter.done());
}

// Runs, begun at any of their elements.
template <class T>
void walkByRuns(TestRandom & random, QelRectBuffer & buffer, Walk const & walk,
                std::vector<Place> const & places) {
    QelRectBufferConstIter<T> iter(&buffer, walk.rect, walk.order, walk.reverseX, walk.reverseY);
    iter.initialize();
    std::size_t at = 0;
    while (!iter.done()) {
        if (random.chance(30)) {
            ASSERT_EQ(addressOf(buffer, places.at(at++)), iter.address());
            iter.next();
            continue;
        }
        QelPixelRun<T const> const run = iter.run();
        ASSERT_GT(run.size(), 0);
        for (std::int64_t i = 0; i < run.size(); ++i)
            ASSERT_EQ(addressOf(buffer, places.at(at++)), run.address() + i * run.step());
        iter.nextRun();
    }
    ASSERT_EQ(places.size(), at);
    ASSERT_EQ(0, iter.runLength());
}

// The rule of the automatic order; nothing when there is none.
std::optional<std::int32_t> orderOf(QelSimpleDataOrg const & org) {
    std::int64_t const pixel = std::abs(org.pixelStride());
    std::int64_t const line = std::abs(org.lineStride());
    std::int64_t const band = org.numBands() > 1 ? std::abs(org.bandDelta(0, 1)) : 0;
    if (pixel < band && line < band) return 0;
    if (pixel < band && line > band) return 4;
    if (band < pixel && band < line) return 2;
    return std::nullopt;
}

template <class T>
void writeEverything() {
    SCOPED_TRACE(QelDataType::of<T>().name());
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(-3, 5, 7, 4), 3, LINE_INTERLEAVED, QelDataType::of<T>());
    QelRectBufferIter<T> iter(buffer);
    EXPECT_FALSE(buffer->isAllocated());
    int n = 0;
    for (iter.initialize(); !iter.done(); iter.next())
        iter.set(static_cast<T>(n++));
    // Pixels of a line, then its bands, then the lines.
    EXPECT_TRUE(showsPixels(*buffer, buffer->rect(), [](std::int32_t x, std::int32_t y, int band) {
        return 21 * (y - 5) + 7 * band + x + 3;
    }));
    iter.initialize();
    EXPECT_EQ(84, iter.run().size());
    iter.run().transform([](T value) { return static_cast<T>(value + 1); });
    EXPECT_EQ(84, elementAt(*buffer, 3, 8, 2));
}

}  // namespace

TEST(QelRectBufferIterTest, EveryOrderIsThatOfThreeNestedLoops) {
    TestRandom random(seed);
    std::size_t visited = 0;
    for (int round = 0; round < 600 && !testing::Test::HasFailure(); ++round) {
        MoxSmartPtr<QelRectBuffer> const buffer = anyBuffer(random);
        Walk walk = anyWalk(random, buffer->rect());
        for (walk.order = 0; walk.order < 6; ++walk.order) {
            std::ostringstream where;
            buffer->print(where);
            where << " walked in " << walk.rect << " order " << walk.order << " reversed "
                  << walk.reverseX << walk.reverseY << " round " << round;
            SCOPED_TRACE(where.str());
            std::vector<Place> const places =
                placesOf(walk.rect.intersect(buffer->rect()), buffer->numBands(), walk);
            visited += places.size();
            withElement(buffer->precision(0), [&](auto element) {
                using T = decltype(element);
                ASSERT_NO_FATAL_FAILURE(walkByNext<T>(*buffer, walk, places));
                ASSERT_NO_FATAL_FAILURE(walkByRuns<T>(random, *buffer, walk, places));
            });
        }
    }
    EXPECT_GT(visited, 50000U);
}

TEST(QelRectBufferIterTest, AutomaticOrderFollowsItsRule) {
    TestRandom random(seed + 1);
    int ties = 0;
    for (int round = 0; round < 2000; ++round) {
        std::vector<std::int32_t> offsets{0};
        for (int bands = random.between(0, 3), step = random.between(-4, 4); bands > 0; --bands)
            offsets.push_back(offsets.back() + step);
        MoxSmartPtr<QelSimpleDataOrg> const org =
            new QelSimpleDataOrg(3, 3, QelDataType::UChar, static_cast<int>(offsets.size()),
                                 offsets, random.between(-4, 4), random.between(-4, 4));
        MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, QelRect(0, 0, 3, 3));
        QelSimpleRectBufferIter iter(buffer, buffer->rect(), 6, random.chance(50),
                                     random.chance(50));
        std::optional<std::int32_t> const order = orderOf(*org);
        if (order) {
            iter.initialize();
            ASSERT_EQ(*order, iter.loopOrder());
        } else {
            ++ties;
            expectRaises(QelErrorCode::invalidDataOrg, "Invalid data organization",
                         [&] { iter.initialize(); });
        }
    }
    EXPECT_GT(ties, 100);
    EXPECT_LT(ties, 1900);
}

TEST(QelRectBufferIterTest, WritesAllElementTypes) {
    writeEverything<std::uint8_t>();
    writeEverything<std::int8_t>();
    writeEverything<std::int16_t>();
    writeEverything<std::uint16_t>();
    writeEverything<std::int32_t>();
    writeEverything<std::uint32_t>();
    writeEverything<float>();
    writeEverything<double>();
}

TEST(QelRectBufferIterTest, ReverseXYieldsTheSameSetOfValues) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(0, 0, 9, 1), 1, PIXEL_INTERLEAVED, QelDataType::Float);
    buffer->allocate();
    fillPixels(*buffer, buffer->rect(), gradientAt);
    std::vector<float> forwards;
    std::vector<float> backwards;
    QelRectBufferConstIter<float> right(buffer, buffer->rect());
    for (right.initialize(); !right.done(); right.next())
        forwards.push_back(right.get());
    QelRectBufferConstIter<float> left(buffer, buffer->rect(), 6, true);
    for (left.initialize(); !left.done(); left.next())
        backwards.push_back(left.get());
    EXPECT_NE(forwards, backwards);
    std::reverse(backwards.begin(), backwards.end());
    EXPECT_EQ(forwards, backwards);
}

TEST(QelRectBufferIterTest, AnotherElementTypeRaises119) {
    MoxSmartPtr<QelRectBuffer> const buffer =
        new QelRectBuffer(QelRect(0, 0, 9, 9), 1, PIXEL_INTERLEAVED, QelDataType::Float);
    QelRectBufferConstIter<std::int16_t> iter(buffer);
    expectRaises(QelErrorCode::wrongPixelFormat,
                 "An iterator over short cannot visit pixels of float", [&] { iter.initialize(); });
    EXPECT_TRUE(iter.done());
    EXPECT_FALSE(buffer->isAllocated());
    QelRectBufferIter<std::int16_t> nowhere(buffer, QelRect());
    nowhere.initialize();
    EXPECT_TRUE(nowhere.done());
}

TEST(QelRectBufferIterTest, ChainedIteratorsWalkInStep) {
    MoxSmartPtr<QelRectBuffer> const from =
        new QelRectBuffer(QelRect(0, 0, 9, 7), 3, PIXEL_INTERLEAVED, QelDataType::UChar);
    MoxSmartPtr<QelRectBuffer> const to =
        new QelRectBuffer(QelRect(-2, -2, 20, 20), 3, BAND_INTERLEAVED, QelDataType::Float);
    from->allocate();
    fillPixels(*from, from->rect(), gradientAt);
    QelRectBufferConstIter<std::uint8_t> source(from, from->rect(), 4);
    QelRectBufferIter<float> dest(to, from->rect(), 4, false, false, &source);
    for (dest.initialize(); !dest.done(); dest.next(), source.next())
        dest.set(source.get());
    EXPECT_TRUE(source.done());
    EXPECT_TRUE(showsPixels(*to, from->rect(), gradientAt));
}
