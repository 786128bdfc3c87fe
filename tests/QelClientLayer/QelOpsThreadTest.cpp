// Several threads on one chain: the same pixels, nothing computed twice that is held.

#include <thread>

#include "ClientTesting.h"

namespace {

constexpr int threads = 8;

// Each thread asks for all tiles, starting at a place of its own.
void pullOnThreads(Qel2DImage & image, QelRectBuffer const & expected) {
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

MoxSmartPtr<Qel2DImage> chainOver(MoxSmartPtr<QelImageOp> const & source) {
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(source);
    image = new Qel2DImage(new QelInvertOp(image));
    image = new Qel2DImage(new QelBlurOp(image));
    image = new Qel2DImage(new QelLinearOp(image, 1.5, -10));
    return new Qel2DImage(new QelSharpenOp(image));
}

TEST(QelOpsThread, ChainOverTheTestCard) {
    TileSize const tiles(32, 32);
    MoxSmartPtr<QelRectBuffer> const expected = allOf(*chainOver(new QelTestCardOp(300, 200)));
    pullOnThreads(*chainOver(new QelTestCardOp(300, 200)), *expected);
}

TEST(QelOpsThread, ChainOverAFileThatIsDecodedMeanwhile) {
    TileSize const tiles(32, 32);
    TemporaryFolder const folder;
    Qel2DImage card(new QelTestCardOp(300, 200));
    for (char const * const name : {"picture.png", "picture.jpg"}) {
        SCOPED_TRACE(name);
        QelPictureWriter(folder.file(name)).write(card);
        MoxSmartPtr<QelRectBuffer> const expected =
            allOf(*chainOver(qelOpenPicture(folder.file(name))));
        pullOnThreads(*chainOver(qelOpenPicture(folder.file(name))), *expected);
    }
}

}  // namespace
