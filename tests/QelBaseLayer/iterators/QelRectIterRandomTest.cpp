#include <algorithm>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "IterTesting.h"
#include "QelRectIter.h"

// Rect iterators over random images, compared with loops over coordinates.

namespace {

constexpr std::uint32_t seed = 20270;

// What the iterator should say: nothing but coordinates.
class Model {
  public:
    Model(QelRect const & rect, int bands)
        : left_(rect.x),
          top_(rect.y),
          right_(rect.right()),
          bottom_(rect.bottom()),
          bands_(bands),
          x(rect.x),
          y(rect.y) {}

    bool done() const { return !entered_ || y < top_ || y > bottom_; }
    bool rowDone() const { return done() || x < left_ || x > right_; }
    int bandHere() const { return std::min(band, bands_ - 1); }

    void moveTo(std::int64_t newX, std::int64_t newY, int newBand) {
        place(newX, newY);
        band = newBand;
    }
    void moveX(std::int64_t n) { place(x + n, y); }
    void moveY(std::int64_t n) { place(x, y + n); }
    void nextRow() { place(left_, y + 1); }
    void next() {
        if (!rowDone()) place(x + 1, y);
    }

  private:
    void place(std::int64_t newX, std::int64_t newY) {
        entered_ = true;
        x = std::clamp(newX, left_ - 1, right_ + 1);
        y = std::clamp(newY, top_ - 1, bottom_ + 1);
    }

    std::int64_t left_;
    std::int64_t top_;
    std::int64_t right_;
    std::int64_t bottom_;
    int bands_;
    bool entered_ = false;

  public:
    std::int64_t x;
    std::int64_t y;
    int band = 0;
};

template <class T>
T valueOf(IterImage const & of, std::int64_t x, std::int64_t y, int band) {
    return static_cast<T>(
        of.picture(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), band));
}

// All bands of the pixels of the run, where they are one piece of memory.
template <class T>
void expectAllBands(IterImage const & of, QelRectConstIter<T> const & iter, Model const & model) {
    bool const dense = hasDensePixels(*of.image->dataOrg());
    ASSERT_EQ(dense ? iter.runLength() * of.bands() : 0, iter.allBandsLength());
    QelPixelRun<T const> const run = iter.allBandsRun();
    ASSERT_EQ(iter.allBandsLength(), run.size());
    for (std::int64_t i = 0; i < run.size(); ++i) {
        ASSERT_EQ(
            valueOf<T>(of, model.x + i / of.bands(), model.y, static_cast<int>(i % of.bands())),
            run[i]);
    }
}

template <class T>
void expectPixel(IterImage const & of, QelRectConstIter<T> const & iter, QelRect const & rect,
                 Model const & model) {
    ASSERT_EQ(valueOf<T>(of, model.x, model.y, model.bandHere()), iter.get());
    int const last = of.bands() - 1;
    ASSERT_EQ(valueOf<T>(of, model.x, model.y, last), iter.get(last));
    ASSERT_NE(nullptr, iter.tile());
    QelRect const has = iter.tile()->rect().intersect(rect);
    ASSERT_TRUE(
        has.contains(static_cast<std::int32_t>(model.x), static_cast<std::int32_t>(model.y)));
    ASSERT_EQ(has.right() - model.x + 1, iter.runLength());
    QelPixelRun<T const> const run = iter.run();
    ASSERT_EQ(iter.runLength(), run.size());
    ASSERT_NO_FATAL_FAILURE(expectAllBands(of, iter, model));
    std::int64_t x = model.x;
    run.forEach([&](T value) { EXPECT_EQ(valueOf<T>(of, x++, model.y, model.bandHere()), value); });
}

template <class T>
void expectState(IterImage const & of, QelRectConstIter<T> const & iter, QelRect const & rect,
                 Model const & model) {
    ASSERT_EQ(model.done(), iter.done());
    ASSERT_EQ(model.rowDone(), iter.rowDone());
    ASSERT_EQ(model.x, iter.x());
    ASSERT_EQ(model.y, iter.y());
    ASSERT_EQ(model.band, iter.band());
    ASSERT_EQ(model.band >= of.bands(), iter.bandDone());
    if (!model.rowDone()) {
        expectPixel(of, iter, rect, model);
    } else {
        ASSERT_EQ(0, iter.runLength());
        ASSERT_EQ(0, iter.run().size());
        ASSERT_EQ(nullptr, iter.tile());
    }
}

template <class T>
void walkByNext(IterImage const & of, QelRect const & rect) {
    QelRectConstIter<T> iter(of.image, rect);
    Model model(rect, of.bands());
    for (int band = 0; band < of.bands(); ++band) {
        iter.toStart();
        iter.setBand(band);
        for (std::int64_t y = rect.y; y <= rect.bottom(); ++y) {
            for (std::int64_t x = rect.x; x <= rect.right(); ++x) {
                model.moveTo(x, y, band);
                ASSERT_NO_FATAL_FAILURE(expectState(of, iter, rect, model));
                iter.next();
            }
            ASSERT_TRUE(iter.rowDone());
            ASSERT_FALSE(iter.done());
            iter.nextRow();
        }
        ASSERT_TRUE(iter.done());
    }
}

template <class T>
void walkByRuns(IterImage const & of, QelRect const & rect) {
    QelRectConstIter<T> iter(of.image, rect);
    std::int64_t y = rect.y;
    for (iter.toStart(); !iter.done(); iter.nextRow(), ++y) {
        std::int64_t x = rect.x;
        for (; !iter.rowDone(); iter.nextRun()) {
            ASSERT_EQ(x, iter.x());
            QelPixelRun<T const> const run = iter.run();
            ASSERT_GT(run.size(), 0);
            for (std::int64_t i = 0; i < run.size(); ++i)
                ASSERT_EQ(valueOf<T>(of, x++, y, 0), run[i]);
        }
        ASSERT_EQ(rect.right() + 1, x);
    }
    ASSERT_EQ(rect.bottom() + 1, y);
}

template <class T>
void walkPixelsByBands(IterImage const & of, QelRect const & rect) {
    QelRectConstIter<T> iter(of.image, rect);
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        for (; !iter.rowDone(); iter.next()) {
            int band = 0;
            for (iter.setBand(0); !iter.bandDone(); iter.nextBand(), ++band)
                ASSERT_EQ(valueOf<T>(of, iter.x(), iter.y(), band), iter.get());
            ASSERT_EQ(of.bands(), band);
        }
    }
}

template <class T>
void jump(TestRandom & random, QelRectConstIter<T> & iter, QelRect const & rect, Model & model) {
    std::int32_t const x = rect.x + random.between(0, rect.width - 1);
    std::int32_t const y = rect.y + random.between(0, rect.height - 1);
    int const band = random.between(0, iter.lastBand());
    iter.moveTo(x, y, band);
    model.moveTo(x, y, band);
}

template <class T>
void changeBand(TestRandom & random, QelRectConstIter<T> & iter, Model & model) {
    if (random.chance(50)) {
        iter.nextBand();
        ++model.band;
    } else {
        model.band = random.between(0, iter.lastBand());
        iter.setBand(model.band);
    }
}

std::int32_t anyStep(TestRandom & random, std::int32_t size) {
    return random.chance(70) ? random.between(-2, 2) : random.between(-size - 2, size + 2);
}

template <class T>
void step(TestRandom & random, QelRectConstIter<T> & iter, QelRect const & rect, Model & model) {
    switch (random.between(0, 9)) {
        case 0: return jump(random, iter, rect, model);
        case 1: return changeBand(random, iter, model);
        case 2: iter.nextRow(); return model.nextRow();
        case 3: model.moveX(iter.runLength()); return iter.nextRun();
        case 4:
        case 5: iter.next(); return model.next();
        case 6:
        case 7: {
            std::int32_t const n = anyStep(random, rect.width);
            iter.moveX(n);
            return model.moveX(n);
        }
        default: {
            std::int32_t const n = anyStep(random, rect.height);
            iter.moveY(n);
            return model.moveY(n);
        }
    }
}

template <class T>
void walkAtRandom(TestRandom & random, IterImage const & of, QelRect const & rect) {
    QelRectConstIter<T> iter(of.image, rect);
    Model model(rect, of.bands());
    ASSERT_NO_FATAL_FAILURE(expectState(of, iter, rect, model));
    if (random.chance(50)) jump(random, iter, rect, model);
    for (int steps = 0; steps < 150; ++steps) {
        // nextRun() of an iterator that stands nowhere does not enter.
        bool const stays = model.done() && iter.tileRow() < 0;
        if (stays) jump(random, iter, rect, model);
        step(random, iter, rect, model);
        SCOPED_TRACE("step " + std::to_string(steps));
        ASSERT_NO_FATAL_FAILURE(expectState(of, iter, rect, model));
    }
}

template <class T>
void writeAll(TestRandom & random, IterImage const & to) {
    QelRectIter<T> iter(to.image, to.pixels);
    bool const byRuns = random.chance(50);
    for (iter.toStart(); !iter.done(); iter.nextRow()) {
        while (!iter.rowDone()) {
            for (int band = 0; band < to.bands(); ++band) {
                iter.setBand(0);
                if (!byRuns) {
                    iter.set(valueOf<T>(to, iter.x(), iter.y(), band), band);
                    continue;
                }
                iter.setBand(band);
                std::int64_t x = iter.x();
                iter.run().transform([&](T) { return valueOf<T>(to, x++, iter.y(), band); });
            }
            byRuns ? iter.nextRun() : iter.next();
        }
    }
}

}  // namespace

TEST(QelRectIterRandomTest, EveryWalkMeetsThePixelsOfALoopOverCoordinates) {
    TestRandom random(seed);
    for (int round = 0; round < 400 && !testing::Test::HasFatalFailure(); ++round) {
        IterImage const of = anyIterImage(random);
        QelRect const rect = random.chance(30) ? of.pixels : random.rectIn(of.pixels);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + describeIterImage(of));
        withElement(of.type(), [&](auto element) {
            using T = decltype(element);
            ASSERT_NO_FATAL_FAILURE(walkByNext<T>(of, rect));
            ASSERT_NO_FATAL_FAILURE(walkByRuns<T>(of, rect));
            ASSERT_NO_FATAL_FAILURE(walkPixelsByBands<T>(of, rect));
            ASSERT_NO_FATAL_FAILURE(walkAtRandom<T>(random, of, rect));
        });
    }
}

TEST(QelRectIterRandomTest, TheWritingFormComputesNothingAndWritesEveryPixel) {
    TestRandom random(seed + 1);
    for (int round = 0; round < 150 && !testing::Test::HasFailure(); ++round) {
        IterImage const to = anyImageToWrite(random);
        SCOPED_TRACE("round " + std::to_string(round) + ": " + describeIterImage(to));
        withElement(to.type(), [&](auto element) { writeAll<decltype(element)>(random, to); });
        ASSERT_NO_FATAL_FAILURE(expectWritten(to));
    }
}
