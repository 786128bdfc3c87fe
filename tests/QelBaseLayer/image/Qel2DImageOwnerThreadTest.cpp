#include <cstdint>

#include <gtest/gtest.h>

#include "ImageTesting.h"
#include "OutputCapture.h"
#include "ThreadTesting.h"

// Images without owners, and images whose owner lets go while they work for it.

// No thread takes the others' use of the image for an owner, and deletes it with its own.
TEST(Qel2DImageOwnerThreadTest, AnImageWithoutOwnersServesEightThreads) {
    OutputCapture const output;
    TestImage const report{.width = 300, .height = 200};
    Qel2DImage image(new GradientOp(report));
    for (int round = 0; round < 20; ++round) {
        StartLine start;
        runThreads([&](std::uint32_t thread) {
            std::int32_t const y = static_cast<std::int32_t>(thread) * 20;
            QelRect const rect(100, y, 60, 20);
            start.await();
            for (int i = 0; i < 20; ++i) {
                MoxSmartPtr<QelRectBuffer> const dest = emptyBuffer(image.dataOrg(), rect);
                ASSERT_TRUE(image.fillRWBuffer(dest, true));
                ASSERT_TRUE(image.getData(rect, true));
                image.shareBuffer(emptyBuffer(image.dataOrg(), rect), rect, true);
                for (Qel2DImage::TileIterator at(&image, rect); !at.done(); ++at)
                    ASSERT_TRUE(at.createTile());
            }
        });
        ASSERT_EQ(0, image.refCount());
    }
    EXPECT_TRUE(showsPixels(*image.getData(report.rect(), true), report.rect(), gradientAt));
    EXPECT_EQ("", output.text());
}

// An owner that lets go while the image works for it is no reason to stop half-way.
TEST(Qel2DImageOwnerThreadTest, AnImageWhoseOwnerLetsGoDuringARequestLivesToItsEnd) {
    TestImage const report{.width = 300, .height = 200};
    MoxSmartPtr<Qel2DImage> image;
    MoxSmartPtr<HookedOp> const op =
        new HookedOp(report, [&image](QelRectBuffer *) { image.release(); });
    QelRect const rect(100, 100, 60, 50);
    image = imageOf(op);
    MoxSmartPtr<QelRectBuffer> const dest = paintedBuffer(report.dataOrg(), rect);
    EXPECT_TRUE(image->fillRWBuffer(dest, true));
    EXPECT_FALSE(image);
    EXPECT_TRUE(showsPixels(*dest, rect, gradientAt));
    image = imageOf(op);
    EXPECT_TRUE(showsPixels(*image->getData(rect, true), rect, gradientAt));
    EXPECT_FALSE(image);
}
