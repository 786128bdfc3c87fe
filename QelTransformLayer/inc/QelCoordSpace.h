#pragma once

#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelBox.h"
#include "QelDimension.h"
#include "ZanRefCount.h"

// How an image is addressed: a list of dimensions, its axes, each with an extent in a unit.
//
// Copies share their dimensions until one of them is changed, so a copy costs one reference count.
// Held by MoxSmartPtr where it is shared. One thread changes a space, while no other reads it;
// copies are independent in this, too.
//
// An operation that raises changes nothing, unless it says otherwise. A bad index of a dimension
// raises outOfRange (7) "index value ", the index, " into coord space with ", the number and "
// dimensions".
class QEL_API QelCoordSpace : public virtual ZanRefCount {
  public:
    using OwnedDimension = std::unique_ptr<QelDimension>;

    // Raise nullPointer (4) "Null pointer passed to QelCoordSpace ctr".
    explicit QelCoordSpace(OwnedDimension dimension);
    QelCoordSpace(OwnedDimension first, OwnedDimension second);
    explicit QelCoordSpace(std::vector<OwnedDimension> dimensions);
    QelCoordSpace(QelCoordSpace const & other);
    // Raises unsupported (9) for a space with fixed dimensions; such a class has its own
    // assignment.
    QelCoordSpace & operator=(QelCoordSpace const & other);
    virtual ~QelCoordSpace();

    virtual MoxSmartPtr<QelCoordSpace> clone() const;
    // "QelCoordSpace[", the name and the range of each dimension, separated by ", ", and "]".
    virtual void print(std::ostream & out) const;

    // As the operations of a dimension. setUnit() and scale() apply to all dimensions.
    virtual void setDimensionUnit(unsigned index, int unit);
    virtual void setUnit(int unit);
    virtual void scaleDimension(unsigned index, double factor);
    virtual void scale(double factor);
    virtual void translateDimension(unsigned index, QelValue const & distance);

    // Replaces a dimension by a copy of `dimension`; the second form finds it by name.
    virtual void setDimension(unsigned index, QelDimension const & dimension);
    virtual void setDimension(QelDimension const & dimension);

    // Sets the range of each dimension. Raises countsDiffer (400), the box's number of dimensions,
    // "-dimensional box passed to setExtentsBox( ) on ", the space's and "-dimensional coord
    // space".
    virtual void setExtentsBox(QelBox const & box);

    unsigned numDimensions() const;
    // Valid until the space is changed or destroyed.
    QelDimension const & dimension(unsigned index) const;
    // Raises noSuchDimension (404) "Could not locate dimension named \"", the name and "\" in
    // coordinate space".
    unsigned indexOf(std::string const & name) const;

    // Adds at the end, or before the dimension at `index` or of that name; `index` may equal the
    // number of dimensions. Raise nullPointer (4) for null.
    void addDimension(OwnedDimension dimension);
    void insertDimension(OwnedDimension dimension, unsigned index);
    void insertDimension(OwnedDimension dimension, std::string const & before);
    // Cannot remove the last remaining dimension: raises unsupported (9) "Cannot remove the only
    // dimension of a coord space".
    void removeDimension(unsigned index);
    void renameDimension(unsigned index, std::string const & name);
    void swapDimensions(unsigned a, unsigned b);

  protected:
    // The dimensions, shared by copies of a space.
    class DimensionSet : public ZanRefCount {
      public:
        DimensionSet() = default;
        DimensionSet(DimensionSet const & other);
        DimensionSet & operator=(DimensionSet const &) = delete;

        std::vector<OwnedDimension> dimensions;
    };

    DimensionSet const & body() const { return *body_; }
    void shareBody(QelCoordSpace const & other) { body_ = other.body_; }
    // This space's own dimensions, copied first if they are shared.
    DimensionSet & uniqueBody();
    bool sharesBody(QelCoordSpace const & other) const { return body_ == other.body_; }

    // Runs `change` on a copy of the dimensions, which this space takes over if nothing is raised.
    template <class Change>
    void edit(Change const & change) {
        MoxSmartPtr<DimensionSet> copy = new DimensionSet(*body_);
        change(*copy);
        body_ = copy;
    }

    // For spaces with fixed dimensions: raises if the one at `index` is fixed and `operation` would
    // move, replace or rename it.
    virtual void checkFree(unsigned index, char const * operation) const;
    // Called after an operation of this class changed extents.
    virtual void extentsChanged();

    void checkIndex(unsigned index) const;

  private:
    MoxSmartPtr<DimensionSet> body_;
};

// print()
QEL_API std::ostream & operator<<(std::ostream & out, QelCoordSpace const & space);
