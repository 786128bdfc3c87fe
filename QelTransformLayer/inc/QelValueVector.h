#pragma once

#include <cstddef>
#include <vector>

#include "QelValue.h"

// A fixed number of values, each with its own unit.
//
// Indices count from 0; a bad one raises outOfRange (7) "index value ", the index, " into vector
// containing ", the size and " elements". Operations between vectors of different sizes raise
// lengthsDiffer (307); those with elements that do not convert raise cannotConvertUnit (306). Both
// change nothing.
class QEL_API QelValueVector {
  public:
    // All elements 0.0 in arbitrary units, or `value`. Raises invalidValue (13) "Value vector size
    // must be greater than zero".
    explicit QelValueVector(unsigned size);
    QelValueVector(unsigned size, QelValue const & value);
    QelValueVector(QelValueVector const &) = default;
    virtual ~QelValueVector();

    // Each element takes the other's number, converted to its own unit.
    QelValueVector & operator=(QelValueVector const & other);
    // Takes the other's elements, with their units.
    void replaceWith(QelValueVector const & other);

    unsigned size() const { return static_cast<unsigned>(elements_.size()); }
    QelValue const & element(unsigned index) const;
    void setElement(unsigned index, QelValue const & value);
    // Elements `low` to `high`, inclusive. Raises outOfRange (7) "low index value ", low, " is
    // greater than high index value ", high, " of range of vector elements".
    void setElements(unsigned low, unsigned high, QelValue const & value);

    // Element by element, in this vector's units.
    void add(QelValueVector const & other);
    void subtract(QelValueVector const & other);

  private:
    void checkIndex(unsigned index) const;
    // Raises lengthsDiffer (307) with `action`, both sizes and the words between them.
    void checkSize(QelValueVector const & other, char const * before, char const * between) const;
    std::vector<QelValue> converted(QelValueVector const & other) const;

    std::vector<QelValue> elements_;
};

// Two vectors are equal if their sizes are and each element equals the other's by QelValue's ==.
// Raises cannotConvertUnit (306) as that does.
QEL_API bool operator==(QelValueVector const & a, QelValueVector const & b);
