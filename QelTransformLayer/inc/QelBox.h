#pragma once

#include <iosfwd>
#include <vector>

#include "QelValueRange.h"
#include "ZanRefCount.h"

// A range for each axis of a space. Held by MoxSmartPtr where it is shared; one thread changes it.
class QEL_API QelBox : public ZanRefCount {
  public:
    // Every range is continuous and closed, from 0.0, 1.0 wide, in arbitrary units. Raises
    // noDimensions (401) "Cannot define a box in zero dimensions".
    explicit QelBox(unsigned dimensions);
    QelBox(QelBox const & other);
    QelBox & operator=(QelBox const &) = delete;
    virtual ~QelBox();

    // "QelBox[", the ranges, separated by ", ", and "]".
    virtual void print(std::ostream & out) const;

    unsigned dimensions() const { return static_cast<unsigned>(ranges_.size()); }
    // Raises outOfRange (7) "index value ", the index, " into box with ", the number and "
    // dimensions".
    QelValueRange const & range(unsigned index) const;
    // Replaces the whole range, including its unit. Raises as range() does.
    void setRange(unsigned index, QelValueRange const & range);
    // All of them. Raises countsDiffer (400) "cannot update ", the number, "-dimensional box with
    // range set containing ", the count and " entries".
    void setRanges(std::vector<QelValueRange> const & ranges);

  private:
    void checkIndex(unsigned index) const;

    std::vector<QelValueRange> ranges_;
};

QEL_API std::ostream & operator<<(std::ostream & out, QelBox const & box);
