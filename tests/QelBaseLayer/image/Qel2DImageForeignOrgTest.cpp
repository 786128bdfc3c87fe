#include <cstdint>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "DiagonalOrg.h"
#include "ExpectError.h"
#include "ImageTesting.h"
#include "QelCoreMisc.h"
#include "RigidDataOrg.h"

// Images in organisations of a client's own that cannot change as an image would like.

namespace {

// Cannot even take another origin.
class NailedOrg : public DiagonalOrg {
  public:
    using DiagonalOrg::DiagonalOrg;
    NailedOrg(NailedOrg const & other) = default;

    MoxSmartPtr<QelDataOrg> clone() const override { return new NailedOrg(*this); }
    MoxSmartPtr<QelDataOrg> withOrigin(std::int32_t, std::int32_t) const override {
        return nullptr;
    }
};

TestImage reportIn(MoxSmartPtr<QelDataOrg> const & org) {
    return {.width = 300, .height = 200, .org = org};
}

MoxSmartPtr<QelRectBuffer> allocatedBuffer(MoxSmartPtr<QelDataOrg> const & org) {
    MoxSmartPtr<QelRectBuffer> const buffer = new QelRectBuffer(org, QelRect(0, 0, 16, 8));
    buffer->allocate();
    return buffer;
}

void expectUnsupported(std::string const & what, std::function<void()> const & action) {
    expectRaises(QelErrorCode::unsupported, "The data organization " + what, action);
}

}  // namespace

TEST(Qel2DImageForeignOrgTest, ACopyLargerThanATileRaises9BeforeAnythingIsComputed) {
    MoxSmartPtr<CountingOp> const op = countingOp(reportIn(new DiagonalOrg(128, 128)));
    MoxSmartPtr<Qel2DImage> const image = imageOf(op);
    ASSERT_EQ(3, image->tilesAcross());
    for (QelRect const & rect : {QelRect(0, 0, 300, 200), QelRect(100, 10, 129, 5),
                                 QelRect(10, 100, 5, 129), QelRect(-50, 100, 500, 5)}) {
        SCOPED_TRACE(rect.width);
        expectUnsupported("DiagonalOrg cannot take another size",
                          [&] { image->getData(rect, true); });
    }
    EXPECT_EQ(0, op->computes());
}

TEST(Qel2DImageForeignOrgTest, ACopyThatFitsInATileIsMade) {
    MoxSmartPtr<Qel2DImage> const image =
        imageOf(new GradientOp(reportIn(new DiagonalOrg(128, 128))));
    for (QelRect const & rect :
         {QelRect(100, 100, 60, 50), QelRect(64, 64, 128, 128), QelRect(280, 190, 60, 50)}) {
        MoxSmartPtr<QelRectBuffer> const data = image->getData(rect, true);
        ASSERT_TRUE(data);
        EXPECT_EQ(rect, data->rect());
        EXPECT_TRUE(showsPixels(*data, rect, framedBy(QelRect(0, 0, 300, 200), gradientAt, 0)));
    }
}

TEST(Qel2DImageForeignOrgTest, ATileSizeThatIsNotDecidedAndCannotBeRaises9) {
    for (MoxSmartPtr<QelDataOrg> const & org : {MoxSmartPtr<QelDataOrg>(new DiagonalOrg(0, 0)),
                                                MoxSmartPtr<QelDataOrg>(new DiagonalOrg(0, 128)),
                                                MoxSmartPtr<QelDataOrg>(new DiagonalOrg(128, 0))}) {
        expectUnsupported("DiagonalOrg cannot take another tile size",
                          [&] { imageOf(new GradientOp(reportIn(org))); });
        expectUnsupported("DiagonalOrg cannot take another tile size",
                          [&] { imageWithoutOp(reportIn(org)); });
    }
}

TEST(Qel2DImageForeignOrgTest, AnOpThatIsRefusedLeavesTheImageAsItWas) {
    MoxSmartPtr<QelImageOp> const op = new GradientOp({.width = 40, .height = 30});
    MoxSmartPtr<Qel2DImage> const image = imageOf(op);
    expectUnsupported("DiagonalOrg cannot take another tile size",
                      [&] { image->setOp(new GradientOp(reportIn(new DiagonalOrg(0, 0)))); });
    EXPECT_EQ(op.get(), image->op().get());
    EXPECT_EQ(QelRect(0, 0, 40, 30), image->imageRect());
    EXPECT_TRUE(showsPixels(*image->getTile(0, 0), QelRect(0, 0, 40, 30), gradientAt));
}

TEST(Qel2DImageForeignOrgTest, AWrappedBufferWhoseMemoryATileCannotShareRaises9) {
    MoxSmartPtr<QelDataOrg> const org = new RigidDataOrg(16, 8, {QelDataType::UChar});
    for (bool const allocated : {false, true}) {
        MoxSmartPtr<QelRectBuffer> const buffer =
            allocated ? allocatedBuffer(org)
                      : MoxSmartPtr<QelRectBuffer>(new QelRectBuffer(org, QelRect(0, 0, 16, 8)));
        expectUnsupported("RigidDataOrg does not let a tile share the memory of a buffer",
                          [&] { Qel2DImage image(buffer.get()); });
        EXPECT_EQ(1, buffer->referenceCount());
    }
}

TEST(Qel2DImageForeignOrgTest, AWrappedBufferWhoseMemoryATileCanShareShowsItsPixels) {
    MoxSmartPtr<QelRectBuffer> const buffer = allocatedBuffer(new DiagonalOrg(16, 8));
    fillPixels(*buffer, buffer->rect(), gradientAt);
    MoxSmartPtr<Qel2DImage> const image = new Qel2DImage(buffer.get());
    EXPECT_TRUE(showsPixels(*image->getTile(0, 0), buffer->rect(), gradientAt));
}

TEST(Qel2DImageForeignOrgTest, AnOrganisationThatCannotBeMovedRaises9) {
    MoxSmartPtr<QelDataOrg> const org = new NailedOrg(16, 8);
    MoxSmartPtr<QelRectBuffer> const buffer = allocatedBuffer(org);
    std::string const text =
        QelCoreMisc::classNameOf(*org) + std::string(" cannot take another origin");
    expectUnsupported(text, [&] { imageOf(new GradientOp(reportIn(org))); });
    expectUnsupported(text, [&] { imageWithoutOp(reportIn(org)); });
    expectUnsupported(text, [&] { Qel2DImage image(buffer.get()); });
}
