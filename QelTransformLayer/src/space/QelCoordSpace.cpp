#include "QelCoordSpace.h"

#include <cerrno>
#include <ostream>
#include <utility>

#include "QelError.h"
#include "QelErrorFrames.h"
#include "QelTextStream.h"

namespace {

using Owned = QelCoordSpace::OwnedDimension;

std::vector<Owned> listOf(Owned first) {
    std::vector<Owned> list;
    list.push_back(std::move(first));
    return list;
}

std::vector<Owned> listOf(Owned first, Owned second) {
    std::vector<Owned> list = listOf(std::move(first));
    list.push_back(std::move(second));
    return list;
}

}  // namespace

QelCoordSpace::DimensionSet::DimensionSet(DimensionSet const & other) : ZanRefCount() {
    dimensions.reserve(other.dimensions.size());
    for (OwnedDimension const & each : other.dimensions)
        dimensions.push_back(each->clone());
}

QelCoordSpace::QelCoordSpace(OwnedDimension dimension)
    : QelCoordSpace(listOf(std::move(dimension))) {}

QelCoordSpace::QelCoordSpace(OwnedDimension first, OwnedDimension second)
    : QelCoordSpace(listOf(std::move(first), std::move(second))) {}

QelCoordSpace::QelCoordSpace(std::vector<OwnedDimension> dimensions) : body_(new DimensionSet) {
    bool bad = dimensions.empty();
    for (OwnedDimension const & each : dimensions)
        bad = bad || each == nullptr;
    if (bad) qelRaise(QelErrorCode::nullPointer, "Null pointer passed to QelCoordSpace ctr");
    body_->dimensions = std::move(dimensions);
}

QelCoordSpace::QelCoordSpace(QelCoordSpace const & other) : ZanRefCount(), body_(other.body_) {}

QelCoordSpace & QelCoordSpace::operator=(QelCoordSpace const & other) {
    if (this == &other) return *this;
    checkFree(0, "operator=");
    shareBody(other);
    return *this;
}

QelCoordSpace::~QelCoordSpace() = default;

MoxSmartPtr<QelCoordSpace> QelCoordSpace::clone() const {
    return new QelCoordSpace(*this);
}

void QelCoordSpace::print(std::ostream & out) const {
    out << "QelCoordSpace[";
    char const * separator = "";
    for (OwnedDimension const & each : body_->dimensions) {
        out << separator << each->name() << '=' << each->range();
        separator = ", ";
    }
    out << ']';
}

QelCoordSpace::DimensionSet & QelCoordSpace::uniqueBody() {
    if (body_->refCount() > 1) body_ = new DimensionSet(*body_);
    return *body_;
}

void QelCoordSpace::checkFree(unsigned, char const *) const {}

void QelCoordSpace::extentsChanged() {}

unsigned QelCoordSpace::numDimensions() const {
    return static_cast<unsigned>(body_->dimensions.size());
}

void QelCoordSpace::checkIndex(unsigned index) const {
    if (index < numDimensions()) return;
    QelTextStream text;
    text << "index value " << index << " into coord space with " << numDimensions()
         << " dimensions";
    qelRaise(QelErrorCode::outOfRange, text.str());
}

QelDimension const & QelCoordSpace::dimension(unsigned index) const {
    checkIndex(index);
    return *body_->dimensions[index];
}

unsigned QelCoordSpace::indexOf(std::string const & name) const {
    for (unsigned i = 0; i < numDimensions(); ++i) {
        if (body_->dimensions[i]->name() == name) return i;
    }
    qelRaise(QelErrorCode::noSuchDimension,
             "Could not locate dimension named \"" + name + "\" in coordinate space");
}

void QelCoordSpace::setDimensionUnit(unsigned index, int unit) {
    checkIndex(index);
    uniqueBody().dimensions[index]->setUnit(unit);
}

void QelCoordSpace::setUnit(int unit) {
    edit([unit](DimensionSet & set) {
        for (OwnedDimension & each : set.dimensions)
            each->setUnit(unit);
    });
}

void QelCoordSpace::scaleDimension(unsigned index, double factor) {
    checkIndex(index);
    uniqueBody().dimensions[index]->scale(factor);
}

void QelCoordSpace::scale(double factor) {
    edit([factor](DimensionSet & set) {
        for (OwnedDimension & each : set.dimensions)
            each->scale(factor);
    });
}

void QelCoordSpace::translateDimension(unsigned index, QelValue const & distance) {
    checkIndex(index);
    uniqueBody().dimensions[index]->translate(distance);
}

void QelCoordSpace::setDimension(unsigned index, QelDimension const & dimension) {
    checkIndex(index);
    // Copied first: it may belong to this space.
    OwnedDimension copy = dimension.clone();
    uniqueBody().dimensions[index] = std::move(copy);
}

void QelCoordSpace::setDimension(QelDimension const & dimension) {
    setDimension(indexOf(dimension.name()), dimension);
}

void QelCoordSpace::setExtentsBox(QelBox const & box) {
    if (box.dimensions() != numDimensions()) {
        QelTextStream text;
        text << box.dimensions() << "-dimensional box passed to setExtentsBox( ) on "
             << numDimensions() << "-dimensional coord space";
        qelRaise(QelErrorCode::countsDiffer, text.str());
    }
    edit([&box](DimensionSet & set) {
        for (unsigned i = 0; i < box.dimensions(); ++i)
            set.dimensions[i]->setRange(box.range(i));
    });
    extentsChanged();
}

void QelCoordSpace::addDimension(OwnedDimension dimension) {
    insertDimension(std::move(dimension), numDimensions());
}

void QelCoordSpace::insertDimension(OwnedDimension dimension, unsigned index) {
    if (dimension == nullptr)
        qelRaise(QelErrorCode::nullPointer,
                 "Null pointer passed to QelCoordSpace::insertDimension");
    if (index != numDimensions()) checkIndex(index);
    checkFree(index, "insertDimension");
    errno = 0;
    try {
        std::vector<OwnedDimension> & all = uniqueBody().dimensions;
        all.insert(all.begin() + static_cast<std::ptrdiff_t>(index), std::move(dimension));
    } catch (ZanError const &) {
        throw;
    } catch (...) {
        qelRaiseSystemFrame("\nUnknown exception inserting dimension into coord space ");
    }
}

void QelCoordSpace::insertDimension(OwnedDimension dimension, std::string const & before) {
    insertDimension(std::move(dimension), indexOf(before));
}

void QelCoordSpace::removeDimension(unsigned index) {
    checkIndex(index);
    checkFree(index, "removeDimension");
    if (numDimensions() == 1) {
        qelRaise(QelErrorCode::unsupported, "Cannot remove the only dimension of a coord space");
    }
    std::vector<OwnedDimension> & all = uniqueBody().dimensions;
    all.erase(all.begin() + static_cast<std::ptrdiff_t>(index));
}

void QelCoordSpace::renameDimension(unsigned index, std::string const & name) {
    checkIndex(index);
    checkFree(index, "renameDimension");
    uniqueBody().dimensions[index]->setName(name);
}

void QelCoordSpace::swapDimensions(unsigned a, unsigned b) {
    checkIndex(a);
    checkIndex(b);
    checkFree(a, "swapDimensions");
    checkFree(b, "swapDimensions");
    std::vector<OwnedDimension> & all = uniqueBody().dimensions;
    all[a].swap(all[b]);
}

std::ostream & operator<<(std::ostream & out, QelCoordSpace const & space) {
    space.print(out);
    return out;
}
