#include <string>

#include "QelCoreMisc.h"
#include "QelError.h"
#include "QelInputConnectionPoint.h"
#include "QelOutputConnectionPoint.h"

// The rules of the graph: which connections QelInputConnectionPoint::connect() accepts.

namespace {

constexpr char const * sameOwner =
    "An attempt is being made to connect two connection points which are owned by the same "
    "transform.  This is only legal when creating a \"NULL\" alias across the inside of an "
    "aggregate, in which case the connection point against which QelInputConnectionPoint::connect( "
    ") must be called is an OUTPUT connection point of the aggregate AND the connection point "
    "passed to the connect call must be an INPUT connection point on the aggregate (this is all "
    "legal, because alias connection points are derived from compatible pairs of input and output "
    "connection points).  ";
constexpr char const * notAnInput =
    "When connecting two transforms as part of a normal connection (as opposed to an alias "
    "operation), the connection point against which QelInputConnectionPoint::connect( ) is called "
    "must be an INPUT of its owner transform.  ";
constexpr char const * notAnOutput =
    "When connecting two transforms as part of a normal connection (as opposed to an alias "
    "operation), the connection point passed to the call to QelInputConnectionPoint::connect( ) "
    "must be an OUTPUT of its owner transform.  ";
constexpr char const * memberToOutputOfAggregate =
    "An attempt is being made to connect an output connection point of an aggregate to a "
    "connection point of atransform in that aggregate.  This is only legal when creating an output "
    "alias on the aggregate, in which case the call to QelInputConnectionPoint::connect( ) must be "
    "made against the connection point of the aggregate, NOT the connection point of the transform "
    "in the aggregate (as happened in this case).  ";
constexpr char const * outputOfMemberToInputOfAggregate =
    "An attempt is being made to connect an input connection point of an aggregate to an output "
    "connection point of atransform in that aggregate.  This is not legal. The only legal "
    "connections to an aggregate's inputs which can be initiated by a connection point of a "
    "transform inside the aggregate (as happened in this  case), are input aliases, in which case "
    "the connection point of the transform in the aggregate must be an input for that transform "
    "(NOT an output as in this case). ";
constexpr char const * inputOfAggregateToMember =
    "An attempt is being made to connect a connection point of a transform to an input connection "
    "point of that transform's aggregate.  This is only legal when creating an input alias on the "
    "aggregate, in which case the call to QelInputConnectionPoint::connect( ) must be made against "
    "an input connection point of the transform, NOT an input connection point of the aggregate.  "
    "When a connect call is made against an input of an aggregate (as was true in this case), it "
    "must be in an attempt to connect that input to something outside the aggregate.  ";
constexpr char const * outputOfAggregateToInputOfMember =
    "An attempt is being made to connect an input connection point of a transform to an output "
    "connection point of that transform's aggregate.  This is not legal. The only legal "
    "connections to an output alias of an aggregate are connections to inputs of transforms which "
    "are outside the aggregate OR connections to outputs of transforms which are inside the "
    "aggregate.  These latter types of connections, which represent output aliases, are created by "
    "calling QelInputConnectionPoint::connect against the output connection point of the aggregate "
    "(the output connection point is an alias connection point, so it is also derived from "
    "QelInputConnectionPoint).  In this case, connect( ) _was_ called against the output of an "
    "aggregate, but the connection point passed into the call was NOT an output connection point. "
    " ";

std::string quoted(std::string const & text) {
    return '"' + text + '"';
}

// The names that a refusal consists of.
struct Ends {
    std::string point;
    std::string owner;
    std::string other;
    std::string otherOwner;

    Ends(QelConnectionPoint const & at, QelConnectionPoint const & with)
        : point(quoted(at.name())),
          owner(quoted(at.transformLabel())),
          other(quoted(with.name())),
          otherOwner(quoted(with.transformLabel())) {}
};

[[noreturn]] void refuse(char const * reason, std::string const & connection) {
    qelRaise(QelErrorCode::wrongDirection,
             reason + ("The connection between " + connection) + " has been rejected.");
}

}  // namespace

void QelInputConnectionPoint::requireConnectable(QelOutputConnectionPoint const * output) const {
    if (output == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "NULL connection point passed to connect() against " +
                                                quoted(name()) + " of transform " +
                                                quoted(transformLabel()));
    }
    if (!canConnect()) {
        qelRaise(QelErrorCode::cannotConnect, "Cannot change connection information for cp named " +
                                                  quoted(name()) + " of transform " +
                                                  quoted(transformLabel()));
    }
    if (!isCompatible(output)) {
        qelRaise(QelErrorCode::incompatiblePoints,
                 "Input connection point named " + quoted(name()) + " whose data type is " +
                     quoted(QelCoreMisc::typeNameOf(getDataType())) +
                     " is not compatible with output connection point " + quoted(output->name()) +
                     " whose data type is " +
                     quoted(QelCoreMisc::typeNameOf(output->getDataType())));
    }
    if (output->owner() == nullptr) {
        qelRaise(QelErrorCode::nullPointer, "Output connection point named " +
                                                quoted(output->name()) + " has no owner transform");
    }
}

void QelInputConnectionPoint::requireLegal(QelOutputConnectionPoint const & output) const {
    QelTransform const * const here = owner();
    QelTransform const * const there = output.owner();
    if (there == here) {
        if (!isInput() && output.isInput()) return;
        Ends const ends(*this, output);
        qelRaise(QelErrorCode::sameTransform,
                 sameOwner + ("The connection between the connection points " + ends.point) +
                     " and " + ends.other + " of the transform labeled " + ends.owner +
                     " has been rejected.");
    }
    if (here->getAllowAnyConnection()) return;
    if (here->aggregate() == there->aggregate()) return requireLegalAmongEquals(output);
    if (there == here->aggregate()) return requireLegalInputAlias(output);
    if (here == there->aggregate()) return requireLegalOutputAlias(output);
    Ends const ends(*this, output);
    qelRaise(QelErrorCode::differentAggregates,
             "The connection between the connection point named " + ends.point +
                 " of the transform labeled " + ends.owner + " and the connection point named " +
                 ends.other + " of the transform labeled " + ends.otherOwner +
                 " is illegal, because the transforms do not belong to the same transform "
                 "aggregate");
}

void QelInputConnectionPoint::requireLegalAmongEquals(
    QelOutputConnectionPoint const & output) const {
    if (isInput() && !output.isInput()) return;
    Ends const ends(*this, output);
    if (!isInput()) {
        refuse(notAnInput, "the output connection point " + ends.point +
                               " of the transform labeled " + ends.owner +
                               " and the connection point " + ends.other);
    }
    refuse(notAnOutput, "the input connection point " + ends.point +
                            " and the input connection point " + ends.other);
}

void QelInputConnectionPoint::requireLegalInputAlias(
    QelOutputConnectionPoint const & output) const {
    if (isInput() && output.isInput()) return;
    Ends const ends(*this, output);
    std::string const end = " of the aggregate labeled " + ends.otherOwner +
                            " who happens to contain the transform " + ends.owner;
    if (!output.isInput()) {
        refuse(memberToOutputOfAggregate,
               "connection point " + ends.point + " of the transform labeled " + ends.owner +
                   " and the output connection point " + ends.other + end);
    }
    refuse(outputOfMemberToInputOfAggregate, "the output connection point " + ends.point +
                                                 " and the input connection point " + ends.other +
                                                 end);
}

void QelInputConnectionPoint::requireLegalOutputAlias(
    QelOutputConnectionPoint const & output) const {
    if (!isInput() && !output.isInput()) return;
    Ends const ends(*this, output);
    std::string const start = ends.point + " of the aggregate labeled " + ends.owner;
    std::string const end = ends.other + " of the transform labeled " + ends.otherOwner +
                            " who happens to reside in the aggregate " + ends.owner;
    if (isInput()) {
        refuse(inputOfAggregateToMember, "the input " + start + " and the connection point " + end);
    }
    refuse(outputOfAggregateToInputOfMember,
           "the output " + start + " and the input connection point " + end);
}
