#include "QelMemoryManager.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "ExpectError.h"
#include "HeapManager.h"
#include "QelDataBuffer.h"

namespace {

class QelMemoryManagerTest : public testing::Test {
  protected:
    ~QelMemoryManagerTest() override { QelMemoryManager::clearDefaultManager(); }

    // What a manager says at its end with that many buffers left.
    static std::string tearDownWith(std::int32_t buffers) {
        MoxSmartPtr<HeapManager> manager(new HeapManager);
        manager->pretendOutstanding(buffers);
        std::optional<ZanError> const error = errorOf([&] { manager.release(); });
        if (!error) return "";
        EXPECT_EQ(QelErrorCode::memoryLeak, error->getErrcode());
        EXPECT_STREQ("QEL", error->getComponent());
        return error->getMsg();
    }
};

TEST_F(QelMemoryManagerTest, ThereIsNoDefaultManagerAtFirst) {
    EXPECT_FALSE(QelMemoryManager::getDefaultManager());
}

TEST_F(QelMemoryManagerTest, SettingTheDefaultTakesNoReferenceAndGettingItDoes) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    QelMemoryManager::setDefaultManager(manager);
    EXPECT_EQ(1, manager->refCount());
    {
        MoxSmartPtr<QelMemoryManager> const got = QelMemoryManager::getDefaultManager();
        EXPECT_EQ(manager.get(), got.get());
        EXPECT_EQ(2, manager->refCount());
    }
    QelMemoryManager::clearDefaultManager();
    EXPECT_FALSE(QelMemoryManager::getDefaultManager());
    EXPECT_EQ(1, manager->refCount());
}

TEST_F(QelMemoryManagerTest, TheDefaultCanBeReplaced) {
    MoxSmartPtr<HeapManager> const first(new HeapManager);
    MoxSmartPtr<HeapManager> const second(new HeapManager);
    QelMemoryManager::setDefaultManager(first);
    QelMemoryManager::setDefaultManager(second);
    EXPECT_EQ(second.get(), QelMemoryManager::getDefaultManager().get());
    QelMemoryManager::setDefaultManager(nullptr);
    EXPECT_FALSE(QelMemoryManager::getDefaultManager());
}

// A default manager without owners: buffers and callers count it, and leave it alone.
TEST_F(QelMemoryManagerTest, ADefaultManagerThatNobodyCountsIsEndedByItsMaker) {
    auto const manager = std::make_unique<HeapManager>();
    QelMemoryManager::setDefaultManager(manager.get());
    EXPECT_EQ(manager.get(), QelMemoryManager::getDefaultManager().get());
    {
        QelDataBuffer buffer(10);
        buffer.allocate();
        EXPECT_EQ(1, manager->refCount());
        QelMemoryManager::clearDefaultManager();
    }
    EXPECT_EQ(0, manager->refCount());
    EXPECT_EQ(1, manager->allocations());
}

TEST_F(QelMemoryManagerTest, AManagerOnAStackIsLeftAlone) {
    HeapManager manager;
    {
        QelDataBuffer buffer(10, &manager);
        buffer.allocate();
        EXPECT_EQ(&manager, buffer.manager().get());
    }
    QelMemoryManager::setDefaultManager(&manager);
    { QelDataBuffer(10).allocate(); }
    EXPECT_EQ(&manager, QelMemoryManager::getDefaultManager().get());
    EXPECT_EQ(2, manager.allocations());
    EXPECT_EQ(0, manager.refCount());
}

TEST_F(QelMemoryManagerTest, AManagerThatEndsIsNotTheDefaultAnyMore) {
    MoxSmartPtr<HeapManager> manager(new HeapManager);
    MoxSmartPtr<HeapManager> other(new HeapManager);
    QelMemoryManager::setDefaultManager(manager);
    other = nullptr;
    EXPECT_EQ(manager.get(), QelMemoryManager::getDefaultManager().get());
    manager = nullptr;
    EXPECT_FALSE(QelMemoryManager::getDefaultManager());
}

TEST_F(QelMemoryManagerTest, OutstandingCountsBuffersHandedOut) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    EXPECT_EQ(0, manager->outstanding());
    void * const memory = manager->allocate(8);
    EXPECT_EQ(1, manager->outstanding());
    EXPECT_TRUE(manager->free(memory));
    EXPECT_EQ(0, manager->outstanding());
}

TEST_F(QelMemoryManagerTest, TeardownIsQuietWhenAllCameBack) {
    MoxSmartPtr<HeapManager> manager(new HeapManager);
    manager->free(manager->allocate(8));
    EXPECT_NO_THROW(manager.release());
    EXPECT_FALSE(manager);
}

// The number of buffers left is one character with that code.
TEST_F(QelMemoryManagerTest, TeardownWithBuffersLeftRaises11WithOneCharacter) {
    struct {
        std::int32_t buffers;
        char character;
    } const cases[] = {{1, '\x01'},     {3, '\x03'},   {65, 'A'},
                       {256 + 66, 'B'}, {255, '\xff'}, {-1, '\xff'}};
    for (auto const & c : cases) {
        SCOPED_TRACE(c.buffers);
        std::string text = "QEL error 11\n";
        text += c.character;
        text += " buffers still remaining that were allocated with this manager";
        EXPECT_EQ(text, tearDownWith(c.buffers));
    }
}

TEST_F(QelMemoryManagerTest, TeardownRaisesForARealBufferAndFreesItAllTheSame) {
    MoxSmartPtr<HeapManager> manager(new HeapManager);
    manager->allocate(8);
    expectRaises(QelErrorCode::memoryLeak,
                 "\x01 buffers still remaining that were allocated with this manager",
                 [&] { manager.release(); });
    EXPECT_FALSE(manager) << "cleared ahead of the destructor";
}

TEST_F(QelMemoryManagerTest, TeardownStaysQuietWhileAnotherExceptionIsInFlight) {
    struct EndsLeaking {
        MoxSmartPtr<HeapManager> manager{new HeapManager};
        ~EndsLeaking() {
            manager->pretendOutstanding(3);
            manager.release();
        }
    };
    try {
        EndsLeaking const leaking;
        throw std::runtime_error("first");
    } catch (std::runtime_error const & error) {
        EXPECT_STREQ("first", error.what());
    }
}

TEST_F(QelMemoryManagerTest, FreeRefusesForeignPointers) {
    MoxSmartPtr<HeapManager> const manager(new HeapManager);
    auto const foreign = std::make_unique<int>();
    EXPECT_FALSE(manager->free(foreign.get()));
}

}  // namespace
