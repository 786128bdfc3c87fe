// Several threads on one chain: the same pixels, nothing computed twice that is held.

#include "ClientTesting.h"
#include "ClientThreadTesting.h"

namespace {

constexpr int threads = 8;

MoxSmartPtr<Qel2DImage> chainOver(MoxSmartPtr<QelImageOp> const & source) {
    MoxSmartPtr<Qel2DImage> image = new Qel2DImage(source);
    image = new Qel2DImage(new QelInvertOp(image));
    image = new Qel2DImage(new QelBlurOp(image));
    image = new Qel2DImage(new QelLinearOp(image, 1.5, -10));
    return new Qel2DImage(new QelSharpenOp(image));
}

TEST(QelOpsThreadTest, ChainOverTheTestCard) {
    TileSize const tiles(32, 32);
    MoxSmartPtr<QelRectBuffer> const expected = allOf(*chainOver(new QelTestCardOp(300, 200)));
    pullOnThreads(threads, *chainOver(new QelTestCardOp(300, 200)), *expected);
}

TEST(QelOpsThreadTest, ChainOverAFileThatIsDecodedMeanwhile) {
    TileSize const tiles(32, 32);
    TemporaryFolder const folder;
    Qel2DImage card(new QelTestCardOp(300, 200));
    for (char const * const name : {"picture.png", "picture.jpg"}) {
        SCOPED_TRACE(name);
        QelPictureWriter(folder.file(name)).write(card);
        MoxSmartPtr<QelRectBuffer> const expected =
            allOf(*chainOver(qelOpenPicture(folder.file(name))));
        pullOnThreads(threads, *chainOver(qelOpenPicture(folder.file(name))), *expected);
    }
}

}  // namespace
