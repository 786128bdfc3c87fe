#include "QelImageSourceOp.h"

#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

class PyramidOp : public QelImageSourceOp {
  public:
    int reports = 0;

    explicit PyramidOp(std::vector<std::pair<std::int32_t, std::int32_t>> resolutions = {
                           {800, 600}, {400, 300}, {200, 150}, {400, 300}}) {
        setResolutions(std::move(resolutions));
    }

    bool genOutputInfo(QelImageInfo & info, QelOpContext) override {
        ++reports;
        std::int32_t width = 0;
        std::int32_t height = 0;
        selectedResolution(width, height);
        info.setSize(width, height);
        return true;
    }
    void compute(QelRectBuffer *, QelOpContext) override {}

    using QelImageSourceOp::selected;
    using QelImageSourceOp::setResolutions;
};

std::int32_t reportedWidth(PyramidOp & op) {
    QelImageInfo info;
    EXPECT_TRUE(op.outputInfo(info));
    return info.width();
}

void expectResolution(PyramidOp const & op, int i, bool listed, std::int32_t width,
                      std::int32_t height) {
    std::int32_t w = -7;
    std::int32_t h = -7;
    EXPECT_EQ(listed, op.getResolution(i, w, h)) << i;
    EXPECT_EQ(width, w) << i;
    EXPECT_EQ(height, h) << i;
}

}  // namespace

TEST(QelImageSourceOpTest, ListsItsResolutions) {
    PyramidOp const op;
    EXPECT_EQ(4, op.resolutionCount());
    expectResolution(op, 0, true, 800, 600);
    expectResolution(op, 2, true, 200, 150);
}

TEST(QelImageSourceOpTest, AnIndexOutOfRangeGivesFalseAndZeros) {
    PyramidOp const op;
    for (int const i : {-1, 4, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        expectResolution(op, i, false, 0, 0);
    }
}

TEST(QelImageSourceOpTest, FindsTheFirstOfEqualResolutions) {
    PyramidOp const op;
    EXPECT_EQ(0, op.findResolution(800, 600));
    EXPECT_EQ(1, op.findResolution(400, 300));
    EXPECT_EQ(-1, op.findResolution(600, 800));
    EXPECT_EQ(-1, op.findResolution(400, 301));
}

TEST(QelImageSourceOpTest, SelectsAListedResolutionAndReportsAfresh) {
    PyramidOp op;
    EXPECT_EQ(800, reportedWidth(op));

    EXPECT_TRUE(op.selectResolution(200, 150));
    EXPECT_EQ(2, op.selected());
    EXPECT_EQ(200, reportedWidth(op));
    EXPECT_EQ(2, op.reports);
}

// A selectResolution that names the current index does not discard the report.
TEST(QelImageSourceOpTest, SelectingTheCurrentResolutionKeepsTheReport) {
    PyramidOp op;
    EXPECT_EQ(800, reportedWidth(op));
    EXPECT_TRUE(op.selectResolution(800, 600));
    EXPECT_EQ(800, reportedWidth(op));
    EXPECT_EQ(1, op.reports);
}

TEST(QelImageSourceOpTest, SelectingWhatIsNotListedChangesNothing) {
    PyramidOp op;
    EXPECT_EQ(800, reportedWidth(op));
    EXPECT_FALSE(op.selectResolution(1, 1));
    EXPECT_EQ(0, op.selected());
    EXPECT_EQ(800, reportedWidth(op));
    EXPECT_EQ(1, op.reports);
}

TEST(QelImageSourceOpTest, NothingListedIsSelectedAsZeros) {
    PyramidOp op;
    op.setResolutions({});
    std::int32_t w = -7;
    std::int32_t h = -7;
    op.selectedResolution(w, h);
    EXPECT_EQ(0, op.resolutionCount());
    EXPECT_EQ(0, w);
    EXPECT_EQ(0, h);
}

TEST(QelImageSourceOpTest, ANewListDiscardsTheReport) {
    PyramidOp op;
    EXPECT_EQ(800, reportedWidth(op));
    op.setResolutions({{64, 64}, {32, 32}}, 1);
    EXPECT_EQ(32, reportedWidth(op));
}
