#include <algorithm>
#include <stdexcept>
#include <utility>

#include "QelError.h"
#include "QelInputConnectionPoint.h"
#include "QelOutput.h"
#include "QelOutputConnectionPoint.h"
#include "QelTransform.h"

namespace {

// The words in which the texts about inputs and outputs differ.
template <class Point>
struct Words;

template <>
struct Words<QelInputConnectionPoint> {
    static constexpr char const * kind = "an input";
    static constexpr char const * direction = "input";
    static constexpr char const * capital = "Input";
    static constexpr char const * notOnList = " is not on the transform's input CP list.";
};

template <>
struct Words<QelOutputConnectionPoint> {
    static constexpr char const * kind = "an output";
    static constexpr char const * direction = "output";
    static constexpr char const * capital = "Output";
    static constexpr char const * notOnList = " is not on the transforms output CP list.";
};

template <class Point>
using Points = std::vector<MoxSmartPtr<Point>>;

template <class Point>
auto findNamed(Points<Point> const & points, std::string_view name) {
    return std::find_if(points.begin(), points.end(),
                        [name](MoxSmartPtr<Point> const & point) { return point->name() == name; });
}

template <class Point>
auto findPoint(Points<Point> const & points, Point const * wanted) {
    return std::find_if(points.begin(), points.end(),
                        [wanted](MoxSmartPtr<Point> const & point) { return point == wanted; });
}

template <class Point>
int indexIn(Points<Point> const & points, typename Points<Point>::const_iterator at) {
    return at == points.end() ? -1 : static_cast<int>(at - points.begin());
}

template <class Point>
void requireAddable(QelTransform const & transform, Points<Point> const & points,
                    Point const * point) {
    using Word = Words<Point>;
    if (point == nullptr) {
        qelRaise(QelErrorCode::nullPointer,
                 "NULL connection point pointer passed to transform " + transform.getLabel());
    }
    if (transform.isRendering()) {
        qelRaise(QelErrorCode::transformRenders,
                 std::string("Cannot add ") + Word::kind + " connection point to transform " +
                     transform.describe() +
                     " because it is rendering (call of addConnectionPoint with CP named " +
                     point->name() + ')');
    }
    if (point->owner() != nullptr) {
        qelRaise(QelErrorCode::pointHasOwner,
                 std::string("Cannot add ") + Word::kind +
                     " connection point (via QelTransform::addConnectionPoint) to transform " +
                     transform.describe() + " because the connection point (named " +
                     point->name() + ") already belongs to transform " +
                     point->owner()->describe());
    }
    if (findNamed(points, point->name()) != points.end()) {
        qelRaise(QelErrorCode::pointNameTaken,
                 std::string("Cannot add ") + Word::direction + " connection point named " +
                     point->name() + " to transform " + transform.getLabel() +
                     " -- connection point name is already in use by this transform");
    }
}

template <class Point>
std::string removalOf(QelTransform const & transform) {
    using Word = Words<Point>;
    return std::string("In a call of QelTransform::remove") + Word::capital +
           "ConnectionPoint for transform " + transform.describe() + " the " + Word::direction +
           " connection point ";
}

template <class Point>
typename Points<Point>::const_iterator requireOnList(QelTransform const & transform,
                                                     Points<Point> const & points,
                                                     Point const * point) {
    auto const found = findPoint(points, point);
    if (point != nullptr && found != points.end()) return found;
    std::string text = removalOf<Point>(transform);
    if (point == nullptr) {
        text += "is NULL";
    } else {
        text += "(named " + point->name() + ") is not on the transforms " +
                Words<Point>::direction + " CP list; " +
                (point->owner() != nullptr
                     ? std::string("the ") + Words<Point>::direction +
                           " CP claims to belong to transform " + point->owner()->describe()
                     : std::string("the input CP has no owning transform"));
    }
    qelRaise(QelErrorCode::outOfRange, text);
}

template <class Point>
typename Points<Point>::const_iterator requireOnList(QelTransform const & transform,
                                                     Points<Point> const & points,
                                                     std::string const & name) {
    auto const found = findNamed(points, name);
    if (found != points.end()) return found;
    qelRaise(QelErrorCode::outOfRange,
             removalOf<Point>(transform) + "named " + name + Words<Point>::notOnList);
}

// std::out_of_range for a bad index, as all containers have it.
template <class Point>
typename Points<Point>::const_iterator requireIndex(Points<Point> const & points, int index) {
    points.at(static_cast<std::size_t>(index));
    return points.begin() + index;
}

template <class Point>
MoxSmartPtr<Point> pointAt(QelTransform const & transform, Points<Point> const & points,
                           int index) {
    if (index < 0 || static_cast<std::size_t>(index) >= points.size()) {
        qelRaise(QelErrorCode::noSuchPointIndex,
                 "Transform " + transform.getLabel() + " does not have an " +
                     Words<Point>::direction + " CP with index " + std::to_string(index) +
                     "; there are only " + std::to_string(points.size()) + " connection points");
    }
    return points[static_cast<std::size_t>(index)];
}

// Takes a point off its list, remembering it where it lives on with this transform as its owner.
template <class Point>
void take(Points<Point> & points, typename Points<Point>::const_iterator at,
          std::vector<QelConnectionPoint *> & removed) {
    bool const isDangling = (*at)->refCount() > 1;
    if (isDangling) {
        removed.push_back(at->get());
        QelOutput::write(std::string(Words<Point>::capital) +
                         " connection point being removed will be dangling\n");
    }
    // The point may end with this, and may then look at the list.
    MoxSmartPtr<Point> const taken = *at;
    points.erase(at);
}

}  // namespace

int QelTransform::getMaxInputs() const {
    return numInputs();
}

int QelTransform::getMaxOutputs() const {
    return numOutputs();
}

QelInputConnectionPoint * QelTransform::addConnectionPoint(
    MoxSmartPtr<QelInputConnectionPoint> point) {
    requireAddable(*this, inputs_, static_cast<QelInputConnectionPoint const *>(point.get()));
    inputs_.push_back(point);
    point->owner_ = this;
    point->isInput_ = true;
    markOutOfDate(true);
    return point.get();
}

QelOutputConnectionPoint * QelTransform::addConnectionPoint(
    MoxSmartPtr<QelOutputConnectionPoint> point) {
    requireAddable(*this, outputs_, static_cast<QelOutputConnectionPoint const *>(point.get()));
    outputs_.push_back(point);
    point->owner_ = this;
    point->isInput_ = false;
    markOutOfDate(true);
    return point.get();
}

void QelTransform::removeInputConnectionPoint(QelInputConnectionPoint const * point) {
    take(inputs_, requireOnList(*this, inputs_, point), removedPoints_);
    markOutOfDate(true);
}

void QelTransform::removeInputConnectionPoint(int index) {
    take(inputs_, requireIndex(inputs_, index), removedPoints_);
    markOutOfDate(true);
}

void QelTransform::removeInputConnectionPoint(std::string const & name) {
    take(inputs_, requireOnList(*this, inputs_, name), removedPoints_);
    markOutOfDate(true);
}

void QelTransform::removeOutputConnectionPoint(QelOutputConnectionPoint const * point) {
    take(outputs_, requireOnList(*this, outputs_, point), removedPoints_);
    markOutOfDate(true);
}

void QelTransform::removeOutputConnectionPoint(int index) {
    take(outputs_, requireIndex(outputs_, index), removedPoints_);
    markOutOfDate(true);
}

void QelTransform::removeOutputConnectionPoint(std::string const & name) {
    take(outputs_, requireOnList(*this, outputs_, name), removedPoints_);
    markOutOfDate(true);
}

void QelTransform::removeLastInputs(int n) {
    for (int i = 0; i < n && !inputs_.empty(); ++i)
        removeInputConnectionPoint(numInputs() - 1);
}

void QelTransform::compactInputs(bool pack, bool removeUnconnected) {
    if (!pack) {
        for (int i = numInputs() - 1; removeUnconnected && i >= 0; --i) {
            if (!getInputCP(i)->getConnectedOutput(false)) removeInputConnectionPoint(i);
        }
        return;
    }
    int const count = numInputs();
    int place = 0;
    for (int i = 0; i < count; ++i) {
        MoxSmartPtr<QelOutputConnectionPoint> const source =
            getInputCP(i)->getConnectedOutput(false);
        if (!source) continue;
        if (i > place) {
            getInputCP(place)->connect(source.get());
            disconnect(i);
        }
        ++place;
    }
    // The index goes on although the inputs behind move down: clients know it so.
    for (int i = place; removeUnconnected && i < count; ++i) {
        static_cast<void>(getInputCP(i));  // raises
        removeInputConnectionPoint(i);
    }
}

MoxSmartPtr<QelInputConnectionPoint> QelTransform::getInputCP(int index) const {
    return pointAt(*this, inputs_, index);
}

MoxSmartPtr<QelOutputConnectionPoint> QelTransform::getOutputCP(int index) const {
    return pointAt(*this, outputs_, index);
}

bool QelTransform::hasInput(std::string_view name) const {
    return findNamed(inputs_, name) != inputs_.end();
}

bool QelTransform::hasOutput(std::string_view name) const {
    return findNamed(outputs_, name) != outputs_.end();
}

int QelTransform::findInputIndex(std::string_view name) const {
    int const index = indexIn(inputs_, findNamed(inputs_, name));
    if (index >= 0) return index;
    qelRaise(QelErrorCode::noSuchPoint, "The argument (string value: " + std::string(name) +
                                            ") of QelTransform::findInputIndex is not an input "
                                            "connection point of transform " +
                                            describe());
}

int QelTransform::findOutputIndex(std::string_view name) const {
    int const index = indexIn(outputs_, findNamed(outputs_, name));
    if (index >= 0) return index;
    qelRaise(QelErrorCode::noSuchPoint,
             "String " + std::string(name) +
                 " (the argument of findOutputIndex) is not the name of an output connection "
                 "point for transform " +
                 describe());
}

int QelTransform::findInputIndex(QelInputConnectionPoint const * point) const {
    int const index = indexIn(inputs_, findPoint(inputs_, point));
    if (point != nullptr && index >= 0) return index;
    qelRaise(
        QelErrorCode::notOwnInput,
        "The argument of QelTransform::findInputIndex (called on transform " + describe() + ") " +
            (point == nullptr ? std::string("is a NULL pointer")
                              : "does not belong to the transform; it is a pointer to input CP " +
                                    point->name() + " of transform " + point->describeOwner()));
}

int QelTransform::findOutputIndex(QelOutputConnectionPoint const * point) const {
    int const index = indexIn(outputs_, findPoint(outputs_, point));
    if (point != nullptr && index >= 0) return index;
    std::string text =
        "The argument of findOutputIndex, called against transform " + describe() + ", ";
    if (point == nullptr) {
        text += "is a NULL pointer";
    } else {
        text += "actually is connection point " + point->name() +
                (point->owner() != nullptr ? " of transform " + point->describeOwner()
                                           : " which does not belong to a transform");
    }
    qelRaise(QelErrorCode::notOwnOutput, text);
}

namespace {

QelTransform & requireSource(QelTransform * source) {
    if (source == nullptr) qelRaise(QelErrorCode::nullPointer, "Argument is a NULL pointer");
    return *source;
}

}  // namespace

void QelTransform::connect(int inputIndex, QelTransform * source, int outputIndex) {
    MoxSmartPtr<QelInputConnectionPoint> const input = getInputCP(inputIndex);
    MoxSmartPtr<QelOutputConnectionPoint> const output =
        requireSource(source).getOutputCP(outputIndex);
    if (!input) qelRaise(QelErrorCode::outOfRange, "Invalid input CP index");
    if (!output) qelRaise(QelErrorCode::outOfRange, "Invalid output CP index");
    input->connect(output.get());
}

void QelTransform::connect(std::string const & inputName, QelTransform * source, int outputIndex) {
    connect(findInputIndex(inputName), source, outputIndex);
}

void QelTransform::connect(std::string const & inputName, QelTransform * source,
                           std::string const & outputName) {
    int const inputIndex = findInputIndex(inputName);
    connect(inputIndex, source, requireSource(source).findOutputIndex(outputName));
}

void QelTransform::disconnect(int inputIndex) {
    if (inputIndex < 0 || inputIndex >= numInputs()) {
        qelRaise(QelErrorCode::noSuchInput,
                 "Attempted to disconnect input connection point with index " +
                     std::to_string(inputIndex) + " from transform " + label_ +
                     ", which has only " + std::to_string(numInputs()) + " inputs");
    }
    getInputCP(inputIndex)->disconnect();
}

void QelTransform::setCaching(bool flag) {
    for (int i = 0; i < numOutputs(); ++i)
        getOutputCP(i)->setCaching(flag);
}

void QelTransform::setInputMetadataFlag(bool value, int index) {
    if (index != -1) {
        getInputCP(index)->setPassesMetadata(value);
        return;
    }
    for (MoxSmartPtr<QelInputConnectionPoint> const & input : inputs_)
        input->setPassesMetadata(value);
}

bool QelTransform::getInputMetadataFlag(int index) const {
    if (index != -1) return getInputCP(index)->passesMetadata();
    return std::any_of(
        inputs_.begin(), inputs_.end(),
        [](MoxSmartPtr<QelInputConnectionPoint> const & input) { return input->passesMetadata(); });
}

void QelTransform::copyPoints(QelTransform const & other) {
    // The names are unique already, so that nothing has to be looked for.
    inputs_.reserve(other.inputs_.size());
    for (MoxSmartPtr<QelInputConnectionPoint> const & source : other.inputs_) {
        MoxSmartPtr<QelConnectionPoint> const copy = source->clone();
        MoxSmartPtr<QelInputConnectionPoint> input =
            dynamic_cast<QelInputConnectionPoint *>(copy.get());
        if (!input) qelRaise(QelErrorCode::wrongClass, "The clone of an input is no input");
        input->owner_ = this;
        input->isInput_ = true;
        inputs_.push_back(std::move(input));
    }
    outputs_.reserve(other.outputs_.size());
    for (MoxSmartPtr<QelOutputConnectionPoint> const & source : other.outputs_) {
        MoxSmartPtr<QelConnectionPoint> const copy = source->clone();
        MoxSmartPtr<QelOutputConnectionPoint> output =
            dynamic_cast<QelOutputConnectionPoint *>(copy.get());
        if (!output) qelRaise(QelErrorCode::wrongClass, "The clone of an output is no output");
        output->owner_ = this;
        output->isInput_ = false;
        outputs_.push_back(output);
        keepCaching(*output, source->caching());
    }
}

// Of a copy. An output without stream data, an alias, would ask for the status of its transform,
// which is not whole yet.
void QelTransform::keepCaching(QelOutputConnectionPoint & output, bool flag) {
    if (output.streamData() != nullptr) {
        output.setCaching(flag);
    } else {
        output.caching_ = flag;
    }
}

void QelTransform::forget(QelConnectionPoint const * point) noexcept {
    std::erase(removedPoints_, point);
}

void QelTransform::disownPoints() noexcept {
    for (MoxSmartPtr<QelInputConnectionPoint> const & input : inputs_)
        input->owner_ = nullptr;
    for (MoxSmartPtr<QelOutputConnectionPoint> const & output : outputs_)
        output->owner_ = nullptr;
    for (QelConnectionPoint * const point : removedPoints_)
        point->owner_ = nullptr;
    removedPoints_.clear();
}
