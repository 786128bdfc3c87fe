#include <optional>
#include <string>

#include "ExpectError.h"
#include "GraphTesting.h"
#include "QelAliasCP.h"

// Which connections are legal: every combination of the directions of both points, how their
// transforms belong together, and whether the owner allows any connection, against the rule in
// words.

namespace {

enum class Relation { same, strangers, siblings, memberToAggregate, aggregateToMember, apart };

constexpr Relation relations[] = {Relation::same,
                                  Relation::strangers,
                                  Relation::siblings,
                                  Relation::memberToAggregate,
                                  Relation::aggregateToMember,
                                  Relation::apart};

// A transform whose points are aliases, which may stand on either side.
class AliasedTransform : public JointTransform {
  public:
    AliasedTransform() : JointTransform(0, 0) {
        addConnectionPoint(MoxSmartPtr<QelInputConnectionPoint>(new QelImageAliasCP("left")));
        addConnectionPoint(MoxSmartPtr<QelOutputConnectionPoint>(new QelImageAliasCP("right")));
    }
    QelImageAliasCP & alias(bool isInput) {
        return isInput ? dynamic_cast<QelImageAliasCP &>(*getInputCP(0))
                       : dynamic_cast<QelImageAliasCP &>(*getOutputCP(0));
    }
};

struct Case {
    bool thisIsInput;
    bool otherIsInput;
    Relation relation;
    bool allowAny;
};

// The rule: 0 where the connection is legal, else the code.
int expectedCode(Case const & c) {
    if (c.relation == Relation::same) {
        bool const passesThrough = !c.thisIsInput && c.otherIsInput;
        return passesThrough ? 0 : QelErrorCode::sameTransform;
    }
    if (c.allowAny) return 0;
    switch (c.relation) {
        case Relation::strangers:
        case Relation::siblings:
            return c.thisIsInput && !c.otherIsInput ? 0 : QelErrorCode::wrongDirection;
        case Relation::memberToAggregate:
            return c.thisIsInput && c.otherIsInput ? 0 : QelErrorCode::wrongDirection;
        case Relation::aggregateToMember:
            return !c.thisIsInput && !c.otherIsInput ? 0 : QelErrorCode::wrongDirection;
        default: return QelErrorCode::differentAggregates;
    }
}

// Two transforms that belong together as told, and what can be seen of them.
class Pair {
  public:
    explicit Pair(Case const & c) {
        if (c.relation == Relation::same) other_ = this_;
        this_->setLabel("this");
        other_->setLabel(c.relation == Relation::same ? "this" : "other");
        QelTransform * aggregateOfThis = nullptr;
        QelTransform * aggregateOfOther = nullptr;
        if (c.relation == Relation::siblings) {
            aggregateOfThis = aggregateOfOther = around_.get();
        }
        if (c.relation == Relation::memberToAggregate) aggregateOfThis = other_.get();
        if (c.relation == Relation::aggregateToMember) aggregateOfOther = this_.get();
        if (c.relation == Relation::apart) aggregateOfThis = around_.get();
        QelGraphTesting::setAggregate(*this_, aggregateOfThis);
        QelGraphTesting::setAggregate(*other_, aggregateOfOther);
        this_->setAllowAnyConnection(c.allowAny);
        point_ = &this_->alias(c.thisIsInput);
        output_ = &other_->alias(c.otherIsInput);
    }
    ~Pair() {
        point_->disconnect();
        QelGraphTesting::setAggregate(*this_, nullptr);
        QelGraphTesting::setAggregate(*other_, nullptr);
    }

    void connect() { point_->connect(output_); }

    // All that a refusal must leave alone.
    std::string state() const {
        QelTransform const & here = *this_;
        return std::to_string(point_->getConnectedOutput(false).get() == output_) +
               std::to_string(output_->numConnectedInputs()) +
               std::to_string(point_->streamData() == output_->streamData()) +
               std::to_string(here.refCount()) + std::to_string(other_->refCount()) +
               std::to_string(here.setupDone()) + std::to_string(other_->setupDone());
    }
    bool isConnected() const { return point_->getConnectedOutput(false).get() == output_; }

  private:
    MoxSmartPtr<AliasedTransform> this_ = new AliasedTransform();
    MoxSmartPtr<AliasedTransform> other_ = new AliasedTransform();
    MoxSmartPtr<AliasedTransform> around_ = new AliasedTransform();
    QelImageAliasCP * point_ = nullptr;
    QelImageAliasCP * output_ = nullptr;
};

std::string textOf(Case const & c) {
    return std::string(c.thisIsInput ? "input" : "output") + " with " +
           (c.otherIsInput ? "input" : "output") + ", relation " +
           std::to_string(static_cast<int>(c.relation)) + (c.allowAny ? ", any" : "");
}

void expectByTheRule(Case const & c) {
    SCOPED_TRACE(textOf(c));
    Pair pair(c);
    std::string const before = pair.state();
    std::optional<ZanError> raised;
    try {
        pair.connect();
    } catch (ZanError const & error) {
        raised = error;
    }
    EXPECT_EQ(expectedCode(c), raised ? raised->getErrcode() : 0);
    EXPECT_EQ(!raised, pair.isConnected());
    if (raised) {
        EXPECT_EQ(before, pair.state());
    }
}

TEST(QelConnectionRulesTest, EveryCombinationGoesByTheRule) {
    for (Relation const relation : relations) {
        for (int bits = 0; bits < 8; ++bits)
            expectByTheRule({(bits & 1) != 0, (bits & 2) != 0, relation, (bits & 4) != 0});
    }
}

// ---- The texts

class QelConnectionRulesTextTest : public testing::Test {
  protected:
    void expectRefusal(Case const & c, int code, std::string const & text) {
        Pair pair(c);
        expectRaises(code, text, [&] { pair.connect(); });
    }
};

TEST_F(QelConnectionRulesTextTest, PointsOfOneTransform) {
    expectRefusal(
        {true, false, Relation::same, false}, QelErrorCode::sameTransform,
        "An attempt is being made to connect two connection points which are owned by the same "
        "transform.  This is only legal when creating a \"NULL\" alias across the inside of an "
        "aggregate, in which case the connection point against which "
        "QelInputConnectionPoint::connect( ) must be called is an OUTPUT connection point of the "
        "aggregate AND the connection point passed to the connect call must be an INPUT "
        "connection point on the aggregate (this is all legal, because alias connection points "
        "are derived from compatible pairs of input and output connection points).  The "
        "connection between the connection points \"left\" and \"right\" of the transform labeled "
        "\"this\" has been rejected.");
}

TEST_F(QelConnectionRulesTextTest, NormalConnectionFromAnOutput) {
    expectRefusal(
        {false, false, Relation::strangers, false}, QelErrorCode::wrongDirection,
        "When connecting two transforms as part of a normal connection (as opposed to an alias "
        "operation), the connection point against which QelInputConnectionPoint::connect( ) is "
        "called must be an INPUT of its owner transform.  The connection between the output "
        "connection point \"right\" of the transform labeled \"this\" and the connection point "
        "\"right\" has been rejected.");
}

TEST_F(QelConnectionRulesTextTest, NormalConnectionToAnInput) {
    expectRefusal(
        {true, true, Relation::siblings, false}, QelErrorCode::wrongDirection,
        "When connecting two transforms as part of a normal connection (as opposed to an alias "
        "operation), the connection point passed to the call to "
        "QelInputConnectionPoint::connect( ) must be an OUTPUT of its owner transform.  The "
        "connection between the input connection point \"left\" and the input connection point "
        "\"left\" has been rejected.");
}

TEST_F(QelConnectionRulesTextTest, MemberToAnOutputOfItsAggregate) {
    expectRefusal(
        {true, false, Relation::memberToAggregate, false}, QelErrorCode::wrongDirection,
        "An attempt is being made to connect an output connection point of an aggregate to a "
        "connection point of atransform in that aggregate.  This is only legal when creating an "
        "output alias on the aggregate, in which case the call to "
        "QelInputConnectionPoint::connect( ) must be made against the connection point of the "
        "aggregate, NOT the connection point of the transform in the aggregate (as happened in "
        "this case).  The connection between connection point \"left\" of the transform labeled "
        "\"this\" and the output connection point \"right\" of the aggregate labeled \"other\" who "
        "happens to contain the transform \"this\" has been rejected.");
}

TEST_F(QelConnectionRulesTextTest, OutputOfAMemberToAnInputOfItsAggregate) {
    expectRefusal(
        {false, true, Relation::memberToAggregate, false}, QelErrorCode::wrongDirection,
        "An attempt is being made to connect an input connection point of an aggregate to an "
        "output connection point of atransform in that aggregate.  This is not legal. The only "
        "legal connections to an aggregate's inputs which can be initiated by a connection point "
        "of a transform inside the aggregate (as happened in this  case), are input aliases, in "
        "which case the connection point of the transform in the aggregate must be an input for "
        "that transform (NOT an output as in this case). The connection between the output "
        "connection point \"right\" and the input connection point \"left\" of the aggregate "
        "labeled \"other\" who happens to contain the transform \"this\" has been rejected.");
}

TEST_F(QelConnectionRulesTextTest, InputOfAnAggregateToAMember) {
    expectRefusal(
        {true, false, Relation::aggregateToMember, false}, QelErrorCode::wrongDirection,
        "An attempt is being made to connect a connection point of a transform to an input "
        "connection point of that transform's aggregate.  This is only legal when creating an "
        "input alias on the aggregate, in which case the call to "
        "QelInputConnectionPoint::connect( ) must be made against an input connection point of "
        "the transform, NOT an input connection point of the aggregate.  When a connect call is "
        "made against an input of an aggregate (as was true in this case), it must be in an "
        "attempt to connect that input to something outside the aggregate.  The connection "
        "between the input \"left\" of the aggregate labeled \"this\" and the connection point "
        "\"right\" of the transform labeled \"other\" who happens to reside in the aggregate "
        "\"this\" has been rejected.");
}

TEST_F(QelConnectionRulesTextTest, OutputOfAnAggregateToAnInputOfAMember) {
    expectRefusal(
        {false, true, Relation::aggregateToMember, false}, QelErrorCode::wrongDirection,
        "An attempt is being made to connect an input connection point of a transform to an "
        "output connection point of that transform's aggregate.  This is not legal. The only "
        "legal connections to an output alias of an aggregate are connections to inputs of "
        "transforms which are outside the aggregate OR connections to outputs of transforms which "
        "are inside the aggregate.  These latter types of connections, which represent output "
        "aliases, are created by calling QelInputConnectionPoint::connect against the output "
        "connection point of the aggregate (the output connection point is an alias connection "
        "point, so it is also derived from QelInputConnectionPoint).  In this case, connect( ) "
        "_was_ called against the output of an aggregate, but the connection point passed into "
        "the call was NOT an output connection point.  The connection between the output "
        "\"right\" of the aggregate labeled \"this\" and the input connection point \"left\" of "
        "the "
        "transform labeled \"other\" who happens to reside in the aggregate \"this\" has been "
        "rejected.");
}

TEST_F(QelConnectionRulesTextTest, DifferentAggregates) {
    expectRefusal({true, false, Relation::apart, false}, QelErrorCode::differentAggregates,
                  "The connection between the connection point named \"left\" of the transform "
                  "labeled \"this\" and the connection point named \"right\" of the transform "
                  "labeled \"other\" is illegal, because the transforms do not belong to the same "
                  "transform aggregate");
}

}  // namespace
