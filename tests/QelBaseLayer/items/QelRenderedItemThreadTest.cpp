#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <iostream>
#include <random>
#include <thread>
#include <utility>
#include <vector>

#include "QelError.h"
#include "QelRenderedItem.h"
#include "QelSmartRenderedItemVector.h"

namespace {

constexpr int threadCount = 8;

class Item : public QelRenderedItem {
  public:
    explicit Item(QelEmbeddedRenderedItemContainer * container = nullptr)
        : QelRenderedItem(container) {
        ++alive;
    }
    ~Item() override { --alive; }
    void compute() override {}

    static inline std::atomic<int> alive{0};
};

// Counts without a lock of its own: the item's lock has to be enough.
class Counter : public QelEmbeddedRenderedItemContainer {
  public:
    void discardReference(QelRenderedItem *) override { ++discards; }
    void notifyStateChange(QelRenderedItem *, std::uint32_t, bool) override { ++changes; }

    int changes = 0;
    int discards = 0;
};

template <class Body>
void runThreads(Body body) {
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i)
        threads.emplace_back(body, i);
    for (std::thread & thread : threads)
        thread.join();
}

TEST(QelRenderedItemThreadTest, StateAndNotificationsOfManyThreads) {
    constexpr int rounds = 5000;
    Counter counter;
    MoxSmartPtr<Item> const item(new Item(&counter));
    runThreads([&](int i) {
        auto const bit = static_cast<std::uint8_t>(1 << i);
        for (int round = 0; round < rounds; ++round) {
            item->setState(bit, true);
            ASSERT_TRUE(item->isState(bit));
            item->setState(bit, false);
            ASSERT_FALSE(item->isState(bit));
        }
        item->setState(bit, i % 2 == 0);
    });
    EXPECT_EQ(threadCount * (2 * rounds + 1), counter.changes);
    for (int i = 0; i < threadCount; ++i) {
        EXPECT_EQ(i % 2 == 0, item->isState(static_cast<std::uint8_t>(1 << i))) << i;
    }
}

TEST(QelRenderedItemThreadTest, DependenciesOfManyThreads) {
    constexpr int rounds = 2000;
    int const aliveBefore = Item::alive;
    MoxSmartPtr<Item> item(new Item);
    std::vector<MoxSmartPtr<Item>> kept;
    for (int i = 0; i < threadCount; ++i)
        kept.emplace_back(new Item);
    runThreads([&](int i) {
        QelSmartRenderedItemVector pair;
        pair.add(kept[static_cast<std::size_t>(i)]);
        pair.add(kept[0]);
        for (int round = 0; round < rounds; ++round) {
            item->addDependencies(pair);
            item->addDependency(kept[static_cast<std::size_t>(i)]);
            item->removeDependency(kept[static_cast<std::size_t>(i)]);
            item->removeDependencies(pair);
        }
        item->addDependency(kept[static_cast<std::size_t>(i)]);
    });
    EXPECT_EQ(threadCount, item->dependencyCount());
    for (MoxSmartPtr<Item> const & one : kept)
        EXPECT_EQ(2, one->refCount());
    item.release();
    kept.clear();
    EXPECT_EQ(aliveBefore, Item::alive);
}

// Items that have one list of dependencies between them change and drop it on different threads.
TEST(QelRenderedItemThreadTest, OneListOfManyItems) {
    constexpr std::size_t items = 200;
    constexpr int rounds = 20;
    int const aliveBefore = Item::alive;
    for (int round = 0; round < rounds; ++round) {
        std::vector<std::vector<MoxSmartPtr<Item>>> ofThreads(threadCount);
        {
            QelSmartRenderedItemVector needed;
            for (int i = 0; i < 10; ++i)
                needed.add(new Item);
            for (std::vector<MoxSmartPtr<Item>> & mine : ofThreads) {
                for (std::size_t i = 0; i < items; ++i) {
                    mine.emplace_back(new Item);
                    mine.back()->addDependencies(needed);
                }
            }
        }
        runThreads([&](int thread) {
            for (std::size_t i = 0; i < items; ++i) {
                Item & item = *ofThreads[static_cast<std::size_t>(thread)][i];
                if (i % 3 == 0) item.removeDependency(item.dependencies()->get(i % 10));
                ASSERT_EQ(i % 3 == 0 ? 9 : 10, item.dependencyCount());
                item.setComplete(true);
                ASSERT_EQ(0, item.dependencyCount());
            }
        });
        EXPECT_EQ(aliveBefore + threadCount * static_cast<int>(items), Item::alive);
    }
    EXPECT_EQ(aliveBefore, Item::alive);
}

// Everything at once; what is left to see is that nothing tears and nothing leaks.
TEST(QelRenderedItemThreadTest, AllOperationsAtOnce) {
    unsigned const seed = 20230;
    std::cout << "seed " << seed << '\n';
    constexpr int rounds = 3000;
    int const aliveBefore = Item::alive;
    Counter counter;
    MoxSmartPtr<Item> item(new Item(&counter));
    runThreads([&](int i) {
        std::minstd_rand random(seed + static_cast<unsigned>(i));
        for (int round = 0; round < rounds; ++round) {
            switch (random() % 7) {
                case 0: item->setComplete(true); break;
                case 1: item->setComplete(false); break;
                case 2: item->clearDependencies(); break;
                case 3: item->isState(QelRenderedItem::complete); break;
                case 4: EXPECT_GE(item->dependencyCount(), 0); break;
                case 5: item->setContainer(&counter); break;
                default: item->addDependency(new Item); break;
            }
        }
    });
    item.release();
    EXPECT_EQ(1, counter.discards);
    EXPECT_EQ(aliveBefore, Item::alive);
}

// An item that is released by one thread while another one releases another item of the same
// chain: each thread drains only what it put aside itself.
TEST(QelRenderedItemThreadTest, ChainsAreReleasedByManyThreads) {
    int const aliveBefore = Item::alive;
    MoxSmartPtr<QelRenderedItem> shared(new Item);
    runThreads([&](int) {
        MoxSmartPtr<QelRenderedItem> head = shared;
        for (int i = 0; i < 20'000; ++i) {
            MoxSmartPtr<QelRenderedItem> next(new Item);
            next->addDependency(head);
            head = std::move(next);
        }
    });
    EXPECT_EQ(1, shared->refCount());
    shared.release();
    EXPECT_EQ(aliveBefore, Item::alive);
}

// setContainer() returns only when no notification to the old container is under way.
TEST(QelRenderedItemThreadTest, SetContainerWaitsForARunningNotification) {
    struct Slow : QelEmbeddedRenderedItemContainer {
        void discardReference(QelRenderedItem *) override {}
        void notifyStateChange(QelRenderedItem *, std::uint32_t, bool) override {
            entered.set_value();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            left = true;
        }
        std::promise<void> entered;
        std::atomic<bool> left{false};
    } slow;
    MoxSmartPtr<Item> const item(new Item(&slow));
    std::thread notifier([&] { item->setState(QelRenderedItem::complete, true); });
    slow.entered.get_future().wait();
    item->setContainer(nullptr);
    EXPECT_TRUE(slow.left);
    notifier.join();
}

TEST(QelRenderedItemThreadTest, AHandlerThatRaisesLeavesTheLockFreeForOtherThreads) {
    struct Raising : QelEmbeddedRenderedItemContainer {
        void discardReference(QelRenderedItem *) override {}
        void notifyStateChange(QelRenderedItem *, std::uint32_t, bool) override {
            qelRaise(204, "Render cancelled in progress");
        }
    } raising;
    MoxSmartPtr<Item> const item(new Item(&raising));
    EXPECT_THROW(item->setState(QelRenderedItem::complete, true), ZanError);
    std::thread([&] { EXPECT_TRUE(item->isState(QelRenderedItem::complete)); }).join();
}

}  // namespace
