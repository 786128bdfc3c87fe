#pragma once

#include "QelPixelRun.h"
#include "QelSimpleRectBufferIter.h"

// A QelSimpleRectBufferIter that reads elements of type T. T is the element type of all bands of
// the buffer (std::uint8_t for UChar, float for Float, ...); initialize() raises wrongPixelFormat
// (119) for any other. An iterator starts done, with no element to read or write: call initialize()
// first.
template <class T>
class QelRectBufferConstIter : public QelSimpleRectBufferIter {
  public:
    using QelSimpleRectBufferIter::QelSimpleRectBufferIter;

    // Requires: !done().
    T get() const { return qelElementAt<T>(address()); }

    // The elements from here on that lie at equal distances; see runLength().
    QelPixelRun<T const> run() const { return {address(), runStep(), runLength()}; }

  protected:
    void checkElements(QelSimpleDataOrg const & org) const override {
        qelRequireElementType(org, QelDataType::of<T>());
    }
};

// The same for writing.
template <class T>
class QelRectBufferIter : public QelRectBufferConstIter<T> {
  public:
    using QelRectBufferConstIter<T>::QelRectBufferConstIter;

    // Requires: !done().
    void set(T value) const { qelSetElementAt(this->address(), value); }

    QelPixelRun<T> run() const { return {this->address(), this->runStep(), this->runLength()}; }
};
