#include "QelThreadScope.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "TestRandom.h"

namespace {

class Reading : public QelThreadScope<Reading> {
  public:
    explicit Reading(void const * object) : QelThreadScope(object) {}
};

class Writing : public QelThreadScope<Writing> {
  public:
    explicit Writing(void const * object) : QelThreadScope(object) {}
};

char const objects[100] = {};

}  // namespace

TEST(QelThreadScopeTest, AThreadIsInsideForAsLongAsTheScopeLives) {
    EXPECT_EQ(nullptr, Reading::innermost(&objects[0]));
    {
        Reading const scope(&objects[0]);
        EXPECT_EQ(&scope, Reading::innermost(&objects[0]));
    }
    EXPECT_EQ(nullptr, Reading::innermost(&objects[0]));
}

TEST(QelThreadScopeTest, ObjectsAndKindsAreToldApart) {
    Reading const scope(&objects[0]);
    EXPECT_EQ(nullptr, Reading::innermost(&objects[1]));
    EXPECT_EQ(nullptr, Reading::innermost(nullptr));
    EXPECT_EQ(nullptr, Writing::innermost(&objects[0]));
    Writing const other(&objects[0]);
    EXPECT_EQ(&other, Writing::innermost(&objects[0]));
    EXPECT_EQ(&scope, Reading::innermost(&objects[0]));
}

TEST(QelThreadScopeTest, TheInnermostScopeHidesThoseAroundIt) {
    Reading const outer(nullptr);
    {
        Reading const between(&objects[0]);
        Reading const inner(nullptr);
        EXPECT_EQ(&inner, Reading::innermost(nullptr));
    }
    EXPECT_EQ(&outer, Reading::innermost(nullptr));
}

TEST(QelThreadScopeTest, AnExceptionEndsScopes) {
    try {
        Reading const outer(&objects[0]);
        Writing const inner(&objects[0]);
        throw std::runtime_error("");
    } catch (std::runtime_error const &) {
        EXPECT_EQ(nullptr, Reading::innermost(&objects[0]));
        EXPECT_EQ(nullptr, Writing::innermost(&objects[0]));
    }
}

TEST(QelThreadScopeTest, OtherThreadsAreNotInside) {
    Reading const scope(&objects[0]);
    std::thread([] {
        EXPECT_EQ(nullptr, Reading::innermost(&objects[0]));
        Reading const own(&objects[0]);
        EXPECT_EQ(&own, Reading::innermost(&objects[0]));
    }).join();
    EXPECT_EQ(&scope, Reading::innermost(&objects[0]));
}

// What a thread's variables do at its end may begin scopes: their stack is still there.
TEST(QelThreadScopeTest, ScopesWorkAtTheEndOfAThread) {
    static Reading const * found = nullptr;
    struct Late {
        void touch() const {}
        ~Late() {
            Reading const scope(&objects[0]);
            found = Reading::innermost(&objects[0]) == &scope ? &scope : nullptr;
        }
    };
    std::thread([] {
        static thread_local Late const late;
        late.touch();
        Reading const scope(&objects[1]);
    }).join();
    EXPECT_NE(nullptr, found);
}

// Deeper and deeper, with some steps back, and up again; a vector is the model.
TEST(QelThreadScopeTest, RandomScopesAgreeWithAModel) {
    TestRandom random(20281);
    std::vector<std::pair<std::unique_ptr<Reading>, void const *>> model;
    auto const expected = [&model](void const * object) -> Reading const * {
        for (std::size_t i = model.size(); i-- > 0;)
            if (model[i].second == object) return model[i].first.get();
        return nullptr;
    };
    for (int const percentOfBegins : {70, 30, 80, 20}) {
        for (int step = 0; step < 4000; ++step) {
            void const * const object = &objects[random.between(0, 99)];
            if (random.chance(percentOfBegins)) {
                model.emplace_back(std::make_unique<Reading>(object), object);
            } else if (!model.empty()) {
                model.pop_back();
            }
            void const * const asked = &objects[random.between(0, 99)];
            ASSERT_EQ(expected(asked), Reading::innermost(asked)) << "depth " << model.size();
        }
    }
    while (!model.empty())
        model.pop_back();
    for (char const & object : objects)
        EXPECT_EQ(nullptr, Reading::innermost(&object));
}
