#include "QelOp.h"

#include <vector>

#include <gtest/gtest.h>

#include "MoxSmartPtr.h"

namespace {

class ContextOp : public QelOp {
  public:
    std::vector<QelOpContext> asked;
    ZanError reason = ZanError("Test", 5, "", 0);

    bool isGood(QelOpContext opContext) override {
        asked.push_back(opContext);
        setStatus(reason);
        return false;
    }
    ZanError stored() const { return storedStatus(); }
};

}  // namespace

TEST(QelOpTest, IsBadUntilItHasReported) {
    MoxSmartPtr<QelOp> const op(new QelOp);

    EXPECT_FALSE(op->isGood(0));
    ZanError const status = op->status(0);
    EXPECT_STREQ("Zan", status.getComponent());
    EXPECT_EQ(-1, status.getErrcode());
    EXPECT_STREQ("Zan error -1", status.getMsg());
}

TEST(QelOpTest, StatusAsksIsGoodWithItsContextAndReturnsWhatThatStored) {
    ContextOp op;
    EXPECT_EQ(-1, op.stored().getErrcode());

    EXPECT_EQ(5, op.status(17).getErrcode());
    EXPECT_EQ(std::vector<QelOpContext>{17}, op.asked);
}

TEST(QelOpTest, IsCountedLikeEveryCountedObject) {
    MoxSmartPtr<QelOp> const op(new QelOp);
    EXPECT_EQ(1, op->refCount());
    op->addRef();
    EXPECT_EQ(2, op->refCount());
    EXPECT_FALSE(op->deleteRef());
    EXPECT_EQ(1, op->refCount());

    QelOp other;
    other = *op;
    EXPECT_EQ(0, other.refCount());
}
