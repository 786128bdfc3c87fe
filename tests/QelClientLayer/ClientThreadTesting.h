#pragma once

#include <atomic>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "ClientTesting.h"

// Each thread asks for all tiles, starting at a place of its own.
inline void pullOnThreads(int threads, Qel2DImage & image, QelRectBuffer const & expected) {
    std::vector<std::thread> workers;
    std::atomic<int> wrong{0};
    int const count = image.tilesAcross() * image.tilesDown();
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&, t] {
            for (int i = 0; i < count; ++i) {
                int const at = (i + t * count / threads) % count;
                MoxSmartPtr<QelTile> const tile =
                    image.getTile(at % image.tilesAcross(), at / image.tilesAcross());
                if (!showsPixels(*tile, tile->rect(), pixelsOf(expected))) ++wrong;
            }
        });
    }
    for (std::thread & worker : workers)
        worker.join();
    EXPECT_EQ(0, wrong.load());
}
