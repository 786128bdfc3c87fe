#include "QelPolygon.h"

#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "UnitTesting.h"

namespace {

using Points = std::vector<QelPolygon::Point>;
using Pointer = MoxSmartPtr<QelPolygon>;

template <class Thing>
std::string textOf(Thing const & thing) {
    std::ostringstream text;
    text << thing;
    return text.str();
}

}  // namespace

TEST(QelPolygonTest, StartsEmptyAndGrows) {
    QelPolygon polygon;
    EXPECT_TRUE(polygon.points().empty());
    polygon.add({1.5, -2.0});
    polygon.add({0.0, 3.0});
    EXPECT_EQ((Points{{1.5, -2.0}, {0.0, 3.0}}), polygon.points());
}

TEST(QelPolygonTest, CopiesAreIndependent) {
    QelPolygon const first(Points{{1.0, 2.0}});
    QelPolygon copy(first);
    copy.add({3.0, 4.0});
    EXPECT_EQ(1U, first.points().size());
    QelPolygon assigned;
    assigned = copy;
    copy.add({5.0, 6.0});
    EXPECT_EQ((Points{{1.0, 2.0}, {3.0, 4.0}}), assigned.points());
}

TEST(QelPolygonTest, ACopyHasOwnersOfItsOwn) {
    Pointer const first(new QelPolygon(Points{{1.0, 2.0}}));
    Pointer const second = first;
    Pointer const copy(new QelPolygon(*first));
    EXPECT_EQ(2, first->refCount());
    EXPECT_EQ(1, copy->refCount());
}

TEST(QelPolygonTest, EqualityIsExactAndInOrder) {
    struct Case {
        char const * what;
        Points a;
        Points b;
        bool equal;
    };
    Case const cases[] = {
        {"both empty", {}, {}, true},
        {"same points", {{1.0, 2.0}, {3.0, 4.0}}, {{1.0, 2.0}, {3.0, 4.0}}, true},
        {"another order", {{1.0, 2.0}, {3.0, 4.0}}, {{3.0, 4.0}, {1.0, 2.0}}, false},
        {"one point more", {{1.0, 2.0}}, {{1.0, 2.0}, {3.0, 4.0}}, false},
        {"another x", {{1.0, 2.0}}, {{1.0 + 1e-15, 2.0}}, false},
        {"another y", {{1.0, 2.0}}, {{1.0, 2.0 + 1e-15}}, false},
        {"zeros of both signs", {{0.0, 0.0}}, {{-0.0, -0.0}}, true},
    };
    for (Case const & row : cases) {
        SCOPED_TRACE(row.what);
        EXPECT_EQ(row.equal, QelPolygon(row.a) == QelPolygon(row.b));
        EXPECT_EQ(row.equal, QelPolygon(row.b) == QelPolygon(row.a));
        EXPECT_EQ(!row.equal, QelPolygon(row.a) != QelPolygon(row.b));
    }
}

TEST(QelPolygonTest, HasATextForm) {
    QelPolygon const polygon(Points{{0.0, 0.5}, {-2.25, 1e10}});
    EXPECT_EQ("QelPolygon[(0,0.5)(-2.25,1e+10)]", textOf(polygon));
    EXPECT_EQ("QelPolygon[]", textOf(QelPolygon()));
    EXPECT_EQ("QelPolygon[(0,0.5)(-2.25,1e+10)]", textOf(Pointer(new QelPolygon(polygon))));
    EXPECT_EQ("NULL", textOf(Pointer()));
}

TEST(QelPolygonTest, AListHasATextForm) {
    EXPECT_EQ("QelPolygonList{}", textOf(QelPolygon::List()));
    QelPolygon::List const list{new QelPolygon(Points{{1.0, 2.0}}), nullptr, new QelPolygon()};
    EXPECT_EQ("QelPolygonList{QelPolygon[(1,2)]NULLQelPolygon[]}", textOf(list));
}

TEST(QelPolygonTest, TheTextHasTheStreamsPrecisionAndFlags) {
    std::ostringstream text;
    text.precision(2);
    text << std::fixed << QelPolygon(Points{{1.0, 2.125}});
    EXPECT_EQ("QelPolygon[(1.00,2.12)]", text.str());
}

TEST(QelPolygonTest, TheTextKnowsNoLocale) {
    GroupedLocale const scope;
    std::ostringstream text;
    text.imbue(GroupedLocale::grouped());
    text << QelPolygon(Points{{12345.0, 0.5}});
    EXPECT_EQ("QelPolygon[(12345,0.5)]", text.str());
}
