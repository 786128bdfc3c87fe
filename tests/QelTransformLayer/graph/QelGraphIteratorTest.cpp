#include "QelGraphIterator.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <random>
#include <set>

#include "QelAliasCP.h"
#include "TransformTesting.h"

// The order in which transforms come, and that each comes once.

namespace {

using Transforms = std::vector<MoxSmartPtr<ScriptedTransform>>;

MoxSmartPtr<ScriptedTransform> node(std::string const & label, int inputs = 0, int outputs = 1) {
    return new ScriptedTransform(label, inputs, outputs);
}

// The labels in the order of the walk; "*" at the end if the graph is cyclic.
template <class Iterator, class Root>
std::string walkWith(Root * root, bool includeDownstream, bool resolveAliases = true) {
    std::string walk;
    Iterator i(root, resolveAliases, includeDownstream);
    for (; !i.done(); i.next())
        walk += i.current()->getLabel();
    return walk + (i.isCyclic() ? "*" : "");
}

std::string upstream(QelTransform * root) {
    return walkWith<QelGraphIterator>(root, false);
}
std::string bothWays(QelTransform * root) {
    return walkWith<QelGraphIterator>(root, true);
}

std::string downstream(QelTransform const * root) {
    std::string walk;
    for (QelDownstreamIterator i(root); !i.done(); i.next())
        walk += i.current()->getLabel();
    return walk;
}

// "s" feeds "l" and "r", which feed "e".
struct Diamond {
    MoxSmartPtr<ScriptedTransform> s = node("s");
    MoxSmartPtr<ScriptedTransform> l = node("l", 1);
    MoxSmartPtr<ScriptedTransform> r = node("r", 1);
    MoxSmartPtr<ScriptedTransform> e = node("e", 2);
    Diamond() {
        l->connect(0, s, 0);
        r->connect(0, s, 0);
        e->connect(0, l, 0);
        e->connect(1, r, 0);
    }
};

// ---- Upstream

TEST(QelGraphIteratorTest, ATransformAloneComesOnce) {
    MoxSmartPtr<ScriptedTransform> const alone = node("a", 2, 2);
    EXPECT_EQ("a", upstream(alone));
    EXPECT_EQ("a", bothWays(alone));
}

TEST(QelGraphIteratorTest, ANullRootIsDoneAtOnce) {
    QelGraphIterator i(nullptr, true, true);
    EXPECT_TRUE(i.done());
    EXPECT_EQ(nullptr, i.current());
    EXPECT_FALSE(i.isCyclic());
    i.next();
    EXPECT_TRUE(i.done());
}

TEST(QelGraphIteratorTest, SourcesComeFirst) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abcd");
    EXPECT_EQ("abcd", upstream(chain[3]));
    EXPECT_EQ("ab", upstream(chain[1]));
}

TEST(QelGraphIteratorTest, SourcesComeInTheOrderOfTheInputs) {
    auto const joint = node("j", 4);
    auto const a = node("a");
    auto const b = node("b");
    auto const bb = node("B", 1);
    auto const c = node("c");
    bb->connect(0, b, 0);
    joint->connect(0, c, 0);
    joint->connect(1, bb, 0);
    joint->connect(3, a, 0);
    EXPECT_EQ("cbBaj", upstream(joint));
}

TEST(QelGraphIteratorTest, WhatSeveralNeedComesOnce) {
    Diamond const d;
    EXPECT_EQ("slre", upstream(d.e));
    auto const twice = node("t", 3);
    twice->connect(0, d.s, 0);
    twice->connect(1, d.s, 0);
    twice->connect(2, d.l, 0);
    EXPECT_EQ("slt", upstream(twice));
}

// The second input's source needs the first one, and the other way round.
TEST(QelGraphIteratorTest, ASourceOfASiblingComesBeforeBoth) {
    auto const s = node("s");
    auto const a = node("a", 1);
    auto const end = node("e", 2);
    a->connect(0, s, 0);
    end->connect(0, a, 0);
    end->connect(1, s, 0);
    EXPECT_EQ("sae", upstream(end));
    end->connect(0, s, 0);
    end->connect(1, a, 0);
    EXPECT_EQ("sae", upstream(end));
}

TEST(QelGraphIteratorTest, StepsEitherWay) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    QelGraphIterator i(chain[2], true, false);
    EXPECT_EQ(chain[0].get(), i.current());
    EXPECT_EQ(chain[1].get(), (++i).current());
    i.next();
    EXPECT_EQ(chain[2].get(), i.current());
    EXPECT_FALSE(i.done());
    i.next();
    EXPECT_TRUE(i.done());
    EXPECT_EQ(nullptr, i.current());
    i.next();
    EXPECT_TRUE(i.done());
}

TEST(QelGraphIteratorTest, TheConstTwinWalksTheSameWay) {
    Diamond const d;
    QelTransform const * const root = d.l;
    EXPECT_EQ("sl", walkWith<QelConstGraphIterator>(root, false));
    EXPECT_EQ(bothWays(d.l), walkWith<QelConstGraphIterator>(root, true));
}

TEST(QelGraphIteratorTest, CopiesGoOnIndependently) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    QelGraphIterator i(chain[2], true, false);
    i.next();
    QelGraphIterator copy(i);
    i.next();
    EXPECT_EQ("b", copy.current()->getLabel());
    EXPECT_EQ("c", i.current()->getLabel());
    i.next();
    copy.next();
    EXPECT_EQ("c", copy.current()->getLabel());
    EXPECT_TRUE(i.done());
    i = copy;
    EXPECT_EQ("c", i.current()->getLabel());
    i.next();
    EXPECT_FALSE(copy.done());
}

TEST(QelGraphIteratorTest, HoldsWhatItIsAt) {
    MoxSmartPtr<ScriptedTransform> alone = node("a");
    QelGraphIterator i(alone, true, false);
    alone.release();
    EXPECT_EQ("a", i.current()->getLabel());
    EXPECT_EQ(1, i.current()->refCount());
}

// ---- Circles

TEST(QelGraphIteratorTest, ACircleIsDeliveredOnceAndReported) {
    auto const a = node("a", 1);
    auto const b = node("b", 1);
    a->connect(0, b, 0);
    b->connect(0, a, 0);
    EXPECT_EQ("ab*", upstream(a));
    EXPECT_EQ("ba*", upstream(b));
    QelGraphIterator i(a, true, false);
    EXPECT_TRUE(i.isCyclic());
    QelGraphIterator const copy(i);
    EXPECT_TRUE(copy.isCyclic());
    QelGraphIterator assigned(nullptr, true, false);
    assigned = i;
    EXPECT_TRUE(assigned.isCyclic());
    a->disconnect(0);
}

TEST(QelGraphIteratorTest, ACircleUpstreamEndsNothing) {
    auto const s = node("s");
    auto const a = node("a", 2);
    auto const b = node("b", 1);
    auto const e = node("e", 2);
    a->connect(0, b, 0);
    a->connect(1, s, 0);
    b->connect(0, a, 0);
    e->connect(0, a, 0);
    e->connect(1, s, 0);
    std::string walk = upstream(e);
    EXPECT_EQ('*', walk.back());
    EXPECT_EQ('e', walk[walk.size() - 2]);
    std::sort(walk.begin(), walk.end());
    EXPECT_EQ("*abes", walk);
    a->disconnect(0);
    EXPECT_EQ('e', upstream(e).back());
}

TEST(QelGraphIteratorTest, TwoWaysAreNoCircle) {
    Diamond const d;
    EXPECT_FALSE(QelGraphIterator(d.e, true, false).isCyclic());
    EXPECT_EQ(std::string::npos, upstream(d.e).find('*'));
    EXPECT_EQ(std::string::npos, bothWays(d.s).find('*'));
}

// ---- Downstream

TEST(QelGraphIteratorTest, DownstreamComesTooWithTheirSources) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abcd");
    auto const other = node("o");
    auto const joint = node("j", 2);
    joint->connect(0, chain[2], 0);
    joint->connect(1, other, 0);
    EXPECT_EQ("ab", upstream(chain[1]));
    std::string walk = bothWays(chain[1]);
    EXPECT_EQ(0U, walk.find("ab"));
    EXPECT_LT(walk.find('o'), walk.find('j'));
    EXPECT_LT(walk.find('c'), walk.find('j'));
    EXPECT_LT(walk.find('c'), walk.find('d'));
    std::sort(walk.begin(), walk.end());
    EXPECT_EQ("abcdjo", walk);
}

// All that is reached is put on the stack, the last on top.
TEST(QelGraphIteratorTest, TheLastThatIsReachedDownstreamComesFirst) {
    auto const s = node("s", 0, 2);
    auto const x = node("x", 1);
    auto const y = node("y", 1);
    auto const z = node("z", 1);
    z->connect(0, s, 1);
    x->connect(0, s, 0);
    y->connect(0, s, 0);
    EXPECT_EQ("szyx", bothWays(s));
}

TEST(QelGraphIteratorTest, DownstreamOfWhatIsUpstreamComesToo) {
    auto const s = node("s");
    auto const a = node("a", 1);
    auto const b = node("b", 1);
    auto const bb = node("B", 1);
    a->connect(0, s, 0);
    b->connect(0, s, 0);
    bb->connect(0, b, 0);
    std::string walk = bothWays(a);
    EXPECT_EQ('s', walk[0]);
    EXPECT_LT(walk.find('b'), walk.find('B'));
    std::sort(walk.begin(), walk.end());
    EXPECT_EQ("Babs", walk);
}

TEST(QelGraphIteratorTest, GoingDownstreamACircleIsDeliveredOnce) {
    auto const s = node("s");
    auto const a = node("a", 2);
    auto const b = node("b", 1);
    a->connect(0, s, 0);
    a->connect(1, b, 0);
    b->connect(0, a, 0);
    std::string walk = bothWays(s);
    EXPECT_EQ('s', walk[0]);
    std::sort(walk.begin(), walk.end());
    EXPECT_EQ("*abs", walk);
    a->disconnect(1);
}

TEST(QelGraphIteratorTest, TheDownstreamIteratorGoesBreadthFirst) {
    auto const s = node("s", 0, 2);
    auto const x = node("x", 1, 2);
    auto const y = node("y", 1);
    auto const z = node("z", 1);
    auto const xx = node("X", 2);
    auto const yy = node("Y", 2);
    z->connect(0, s, 1);
    x->connect(0, s, 0);
    y->connect(0, s, 0);
    yy->connect(0, y, 0);
    xx->connect(0, x, 1);
    xx->connect(1, x, 0);
    yy->connect(1, xx, 0);
    EXPECT_EQ("xyzXY", downstream(s));
    EXPECT_EQ("XY", downstream(x));
    EXPECT_EQ("", downstream(yy));
    EXPECT_EQ("", downstream(nullptr));
}

TEST(QelGraphIteratorTest, TheDownstreamIteratorMeetsARootOnACircle) {
    auto const a = node("a", 1);
    auto const b = node("b", 1);
    auto const c = node("c", 1);
    a->connect(0, b, 0);
    b->connect(0, a, 0);
    c->connect(0, b, 0);
    EXPECT_EQ("bac", downstream(a));
    EXPECT_EQ("acb", downstream(b));
    EXPECT_EQ("", downstream(c));
    a->disconnect(0);
}

TEST(QelGraphIteratorTest, TheDownstreamIteratorCopies) {
    ScriptedGraph graph;
    auto const chain = graph.chain("abc");
    QelDownstreamIterator i(chain[0]);
    QelDownstreamIterator copy(i);
    i.next();
    EXPECT_EQ("b", copy.current()->getLabel());
    EXPECT_EQ("c", i.current()->getLabel());
    copy = i;
    copy.next();
    EXPECT_TRUE(copy.done());
    EXPECT_FALSE(i.done());
}

// ---- Points without a transform

TEST(QelGraphIteratorTest, PointsWithoutATransformLeadNowhere) {
    auto const a = node("a", 1);
    MoxSmartPtr<QelImageInputCP> const input(new QelImageInputCP("free"));
    MoxSmartPtr<QelOutputConnectionPoint> held;
    {
        auto const gone = node("g");
        held = gone->getOutputCP(0);
        a->connect(0, gone, 0);
    }
    EXPECT_EQ("ga", upstream(a));
    a->disconnect(0);
    EXPECT_EQ(nullptr, held->owner());
    EXPECT_EQ("a", upstream(a));
}

// ---- Aliases

// An aggregate by hand: "A" with the input alias "left" and the output alias "right" around "m".
struct Aggregate {
    MoxSmartPtr<ScriptedTransform> a = node("A", 0, 0);
    MoxSmartPtr<ScriptedTransform> m = node("m", 1);
    MoxSmartPtr<QelImageAliasCP> left{new QelImageAliasCP("left")};
    MoxSmartPtr<QelImageAliasCP> right{new QelImageAliasCP("right")};
    Aggregate() {
        a->addInput(left.get());
        a->addOutput(right.get());
        QelGraphTesting::setAggregate(*m, a);
        m->getInputCP(0)->connect(left);
        static_cast<QelInputConnectionPoint &>(*right).connect(m->getOutputCP(0).get());
    }
    ~Aggregate() {
        m->getInputCP(0)->disconnect();
        static_cast<QelInputConnectionPoint &>(*right).disconnect();
        QelGraphTesting::setAggregate(*m, nullptr);
    }
};

TEST(QelGraphIteratorTest, AliasesAreResolvedWhereThatIsAskedFor) {
    Aggregate const aggregate;
    auto const s = node("s");
    auto const e = node("e", 1);
    aggregate.a->connect(0, s, 0);
    e->connect(0, aggregate.a, 0);
    EXPECT_EQ("sme", walkWith<QelGraphIterator>(static_cast<QelTransform *>(e), false, true));
    EXPECT_EQ("sAe", walkWith<QelGraphIterator>(static_cast<QelTransform *>(e), false, false));
}

// ---- Random graphs against a slow model

class RandomGraph {
  public:
    explicit RandomGraph(unsigned seed) : random_(seed) {
        int const count = 1 + below(12);
        for (int i = 0; i < count; ++i)
            nodes_.push_back(node(std::string(1, static_cast<char>('a' + i)), below(4), 1));
    }
    ~RandomGraph() {
        for (auto const & each : nodes_) {
            for (int i = 0; i < each->numInputs(); ++i)
                each->disconnect(i);
        }
    }

    int below(int end) { return std::uniform_int_distribution<int>(0, end - 1)(random_); }
    Transforms const & nodes() const { return nodes_; }

    // Each input to a transform before it; with `circles` to any other.
    void connect(bool circles) {
        for (std::size_t i = 0; i < nodes_.size(); ++i) {
            std::size_t const end = circles ? nodes_.size() : i;
            for (int input = 0; input < nodes_[i]->numInputs() && end > 0; ++input) {
                auto const from = static_cast<std::size_t>(below(static_cast<int>(end)));
                if (from != i && below(5) > 0) nodes_[i]->connect(input, nodes_[from], 0);
            }
        }
    }

  private:
    std::mt19937 random_;
    Transforms nodes_;
};

std::set<QelTransform *> sourcesOf(QelTransform & transform) {
    std::set<QelTransform *> sources;
    for (int i = 0; i < transform.numInputs(); ++i) {
        MoxSmartPtr<QelOutputConnectionPoint> const output =
            transform.getInputCP(i)->getConnectedOutput(false);
        if (output) sources.insert(output->owner());
    }
    return sources;
}

std::set<QelTransform *> consumersOf(QelTransform & transform) {
    std::set<QelTransform *> consumers;
    for (QelInputConnectionPoint * input : transform.getOutputCP(0)->connectedInputs())
        consumers.insert(input->owner());
    return consumers;
}

// Grows a set by what `next` tells of each of its members, until nothing is added.
template <class Next>
std::set<QelTransform *> closure(std::set<QelTransform *> reached, Next const & next) {
    for (std::size_t before = 0; before != reached.size();) {
        before = reached.size();
        for (QelTransform * transform : std::set<QelTransform *>(reached)) {
            std::set<QelTransform *> const more = next(*transform);
            reached.insert(more.begin(), more.end());
        }
    }
    return reached;
}

std::set<QelTransform *> neighboursOf(QelTransform & transform) {
    std::set<QelTransform *> all = sourcesOf(transform);
    std::set<QelTransform *> const consumers = consumersOf(transform);
    all.insert(consumers.begin(), consumers.end());
    return all;
}

bool liesOnACircle(QelTransform & transform) {
    return closure(sourcesOf(transform), sourcesOf).count(&transform) > 0;
}

void expectWalk(QelTransform & root, bool includeDownstream) {
    std::set<QelTransform *> const expected =
        closure({&root}, includeDownstream ? neighboursOf : sourcesOf);
    bool const cyclic = std::any_of(expected.begin(), expected.end(),
                                    [](QelTransform * each) { return liesOnACircle(*each); });
    std::set<QelTransform *> delivered;
    QelGraphIterator i(&root, true, includeDownstream);
    for (; !i.done(); i.next()) {
        EXPECT_TRUE(delivered.insert(i.current()).second) << i.current()->getLabel() << " twice";
        if (cyclic) continue;
        for (QelTransform * source : sourcesOf(*i.current())) {
            EXPECT_EQ(1U, delivered.count(source))
                << i.current()->getLabel() << " ahead of " << source->getLabel();
        }
    }
    EXPECT_EQ(expected, delivered);
    EXPECT_EQ(cyclic, i.isCyclic());
}

TEST(QelGraphIteratorTest, RandomGraphsAreWalkedAsTheModelSays) {
    for (unsigned seed = 1; seed <= 1000 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        RandomGraph graph(seed);
        graph.connect(seed % 2 == 0);
        for (bool const includeDownstream : {false, true}) {
            auto const root =
                static_cast<std::size_t>(graph.below(static_cast<int>(graph.nodes().size())));
            expectWalk(*graph.nodes()[root], includeDownstream);
        }
    }
}

}  // namespace
