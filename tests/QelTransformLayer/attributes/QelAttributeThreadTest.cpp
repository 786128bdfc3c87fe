#include <algorithm>
#include <barrier>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "AttributeTesting.h"

// Threads that each have attributes of their own share the counter of the stamps, and nothing else.

namespace {

constexpr int threadCount = 8;
constexpr int rounds = 500;

using Stamps = std::vector<std::uint32_t>;

// Makes, sets, reads, copies and drops attributes; each stamp that it comes by.
Stamps work(int thread) {
    Stamps stamps;
    Listener owner;
    for (int i = 0; i < rounds; ++i) {
        IntPtr const attribute = owner.addAndListen("size " + std::to_string(i));
        stamps.push_back(attribute->timestamp());
        attribute->setValue(thread);
        stamps.push_back(attribute->timestamp());
        AttributePtr const clone = attribute->clone(&owner, &owner);
        stamps.push_back(clone->timestamp());
        EXPECT_TRUE(attribute->copyValue(*clone));
        stamps.push_back(owner.getLatestTimestamp({attribute->name()}));
        EXPECT_EQ(thread, attribute->getValue());
    }
    EXPECT_EQ(2U * rounds, owner.heard().size());
    return stamps;
}

std::vector<Stamps> workOfAll() {
    std::vector<Stamps> stamps(threadCount);
    std::barrier start(threadCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            stamps[static_cast<std::size_t>(i)] = work(i);
        });
    }
    for (std::thread & thread : threads)
        thread.join();
    return stamps;
}

TEST(QelAttributeThreadTest, StampsAreUniqueAndRiseInEachThread) {
    std::uint32_t const before = IntPtr(new IntAttribute("before"))->timestamp();
    Stamps all;
    for (Stamps const & stamps : workOfAll()) {
        EXPECT_TRUE(std::is_sorted(stamps.begin(), stamps.end()));
        all.insert(all.end(), stamps.begin(), stamps.end());
    }
    std::sort(all.begin(), all.end());
    ASSERT_EQ(4U * rounds * threadCount, all.size());
    // None is missing, and none was given twice.
    for (std::size_t i = 0; i < all.size(); ++i)
        ASSERT_EQ(before + 1 + i, all[i]);
}

TEST(QelAttributeThreadTest, ManyThreadsLookAtOneObject) {
    Listener owner;
    for (int i = 0; i < 50; ++i)
        owner.add("size " + std::to_string(i), i);
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&owner] {
            for (int i = 0; i < 50; ++i) {
                std::string const name = "size " + std::to_string(i);
                EXPECT_EQ(i, IntAttribute::of(owner.getAttribute(name))->getValue());
                EXPECT_EQ(name, owner.getAttributeName(i));
                EXPECT_EQ(name, owner.getAttributeName(owner.getAttribute(i)));
                Listener const copy(owner);
                EXPECT_EQ(50, copy.getNumAttributes());
            }
        });
    }
    for (std::thread & thread : threads)
        thread.join();
}

// The source has no owner: were it counted for a while, the last thread to let go would end it.
TEST(QelAttributeThreadTest, ManyThreadsCopyFromOneObjectOnAStack) {
    Listener source;
    for (int i = 0; i < 5; ++i)
        source.add("size " + std::to_string(i), i);
    std::barrier start(threadCount);
    std::vector<std::thread> threads;
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&] {
            Listener target(source);
            start.arrive_and_wait();
            for (int round = 0; round < rounds; ++round)
                target.copyAttributes(source);
            EXPECT_EQ(5, target.getNumAttributes());
        });
    }
    for (std::thread & thread : threads)
        thread.join();
    EXPECT_EQ(0, source.refCount());
}

}  // namespace
