#include "QelXyRegionRegistryEntry.h"

#include <atomic>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "ExpectError.h"
#include "RegionTesting.h"

namespace clients {

// As a client would write a region and its entry.
class Spot : public QelXySimpleRegion {
  public:
    using QelXySimpleRegion::QelXySimpleRegion;

    MoxSmartPtr<QelRegion> clone() const override { return new Spot(*this); }
    void read(std::istream & in) override {
        std::string word;
        in >> word;
        EXPECT_EQ("[spot]", word);
    }
    void write(std::ostream & out) const override { out << className() << "[spot]"; }
};

class SpotEntry : public QelXyRegionRegistryEntry {
  public:
    explicit SpotEntry(std::string name) : QelXyRegionRegistryEntry(std::move(name)) {}
    MoxSmartPtr<QelXyRegion> newRegion() const override { return new Spot; }
    MoxSmartPtr<QelXyRegion> newRegion(QelXyCoordSpace const * space) const override {
        return new Spot(space);
    }
};

}  // namespace clients

namespace {

using clients::Spot;
using clients::SpotEntry;

void expectUnknown(std::string const & name) {
    expectRaises(QelErrorCode::invalidValue,
                 "Class " + name + " is not registered as an QelXyRegion.",
                 [&] { qelNewRegion(name); });
}

bool isSpot(MoxSmartPtr<QelXyRegion> const & region) {
    return dynamic_cast<Spot const *>(region.get()) != nullptr;
}

}  // namespace

TEST(QelXyRegionRegistryEntryTest, MakesSimpleRegions) {
    MoxSmartPtr<QelXyRegion> const region = qelNewRegion("QelXySimpleRegion");
    EXPECT_EQ("QelXySimpleRegion", region->className());
    EXPECT_EQ(nullptr, region->coordSpace().get());
    EXPECT_EQ(1, region->refCount());
    EXPECT_NE(region.get(), qelNewRegion("QelXySimpleRegion").get());
}

TEST(QelXyRegionRegistryEntryTest, TheSimpleOneHasItsKeyAndBothFactories) {
    QelXySimpleRegionRegistryEntry const entry;
    EXPECT_EQ("QelXySimpleRegion", entry.name());
    EXPECT_EQ(nullptr, entry.newRegion()->coordSpace().get());
    MoxSmartPtr<QelXyRegion> const region = entry.newRegion(pixelSpace(10, 20));
    EXPECT_EQ(QelRect(0, 0, 10, 20), region->pixelBounds());
    expectRaises(QelErrorCode::nullPointer, nullSpaceRefusal, [&] { entry.newRegion(nullptr); });
}

TEST(QelXyRegionRegistryEntryTest, AnUnknownNameIsRefused) {
    for (char const * name : {"", "Nothing", "QelXyRegion", "qelxysimpleregion", "QelXySimpleRegio",
                              "QelXySimpleRegion "}) {
        SCOPED_TRACE(name);
        expectUnknown(name);
    }
}

TEST(QelXyRegionRegistryEntryTest, AClientsEntryIsFoundWhileItLives) {
    expectUnknown("Spot");
    {
        SpotEntry const entry("Spot");
        EXPECT_EQ("Spot", entry.name());
        EXPECT_TRUE(isSpot(qelNewRegion("Spot")));
        EXPECT_FALSE(isSpot(qelNewRegion("QelXySimpleRegion")));
    }
    expectUnknown("Spot");
    EXPECT_EQ("QelXySimpleRegion", qelNewRegion("QelXySimpleRegion")->className());
}

TEST(QelXyRegionRegistryEntryTest, OfTwoOfOneNameTheFirstCounts) {
    auto simple = std::make_unique<QelXySimpleRegionRegistryEntry>();
    SpotEntry const spots("QelXySimpleRegion");
    EXPECT_FALSE(isSpot(qelNewRegion("QelXySimpleRegion")));
    simple.reset();
    EXPECT_FALSE(isSpot(qelNewRegion("QelXySimpleRegion")));
}

TEST(QelXyRegionRegistryEntryTest, ARegionOfAClientsNamespaceIsReadByItsClassName) {
    MoxSmartPtr<QelXyRegion> const spot(new Spot);
    SpotEntry const entry(spot->className());
    EXPECT_EQ("clients::Spot", spot->className());
    std::stringstream text;
    text << spot;
    MoxSmartPtr<QelXyRegion> read;
    text >> read;
    EXPECT_TRUE(isSpot(read));
}

TEST(QelXyRegionRegistryEntryThreadTest, ThreadsReadItWhileOthersEnterAndLeave) {
    std::atomic<int> made{0};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 2000; ++n) {
                if (qelNewRegion("QelXySimpleRegion")) ++made;
                try {
                    qelNewRegion("ThreadUnknown");
                    ADD_FAILURE() << "found";
                } catch (ZanError const & error) {
                    EXPECT_EQ(QelErrorCode::invalidValue, error.getErrcode());
                }
            }
        });
    }
    std::thread entering([&] {
        for (int n = 0; !stop; ++n) {
            SpotEntry const entry("ThreadSpot" + std::to_string(n % 10));
            EXPECT_TRUE(isSpot(qelNewRegion(entry.name())));
        }
    });
    for (std::thread & thread : threads)
        thread.join();
    stop = true;
    entering.join();
    EXPECT_EQ(6000, made);
}
