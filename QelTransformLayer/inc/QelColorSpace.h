#pragma once

#include <atomic>
#include <iosfwd>

#include "MoxSmartPtr.h"
#include "QelExport.h"
#include "ZanMutex.h"
#include "ZanRefCount.h"

// How to read the numbers of a pixel or a colour: how many bands there are, what each is called,
// which code values are legal, and whether one of the bands is alpha. A tag with a range, not the
// arithmetic of turning one space into another: two ends of a connection compare their spaces,
// and image data carries one as a label.
//
// Held by MoxSmartPtr. Everything but the flag is fixed once a space is made or read, so any thread
// may ask.
//
// lock() is that of a mutex, which callers may use that need one for each space: it waits while
// another thread holds it, and keeps nobody from changing the space, which takes it nowhere itself.
// lock() of a QelAttribute is something else: a mark that makes changes raise, and never waits.
class QEL_API QelColorSpace : public ZanRefCount, public ZanMutex {
  public:
    virtual ~QelColorSpace();
    QelColorSpace & operator=(QelColorSpace const &) = delete;

    virtual MoxSmartPtr<QelColorSpace> clone() const = 0;

    // The same class, range and number of bands? The flag takes no part.
    virtual bool isEqual(QelColorSpace const & other) const;
    // The same class?
    virtual bool isSameType(QelColorSpace const & other) const;

    virtual int numBands() const;
    // The label of a band, from 0 on. Lives as long as the process.
    virtual char const * bandName(int index) const = 0;
    // The label of the space. Lives as long as the process.
    virtual char const * name() const = 0;
    // The name of the class itself.
    virtual char const * className() const;

    // The text form: the class name, "[b=", the bands, ", min=", the minimum, ", max=", the maximum
    // and "]"; numbers as short as they read back. write() raises invalidValue (13), and writes
    // nothing, where that could not be read again: for a negative number of bands, a minimum or
    // maximum that is infinite or no number, and a class name that has a "[" or starts with "NULL".
    // read() takes everything up to "[" and what follows; it raises invalidValue (13) "Invalid
    // QelColorSpace value" and changes nothing where that does not read, or the bands are negative.
    // It is for a space that nobody else has yet.
    virtual void write(std::ostream & out) const;
    virtual void read(std::istream & in);

    // False here.
    virtual bool isRGBLike() const;
    virtual bool isYCCLike() const;
    virtual bool hasAlpha() const;

    // The label of the same space with the alpha band added or removed; null when there is none,
    // as here.
    virtual char const * alphaPartnerName() const;

    // A mark of the caller's own: false at first, copied with the space.
    virtual bool getFlag() const;
    virtual void setFlag(bool flag);

    // The same space with another number of bands, or another range.
    virtual MoxSmartPtr<QelColorSpace> newWithBands(int bands) const = 0;
    virtual MoxSmartPtr<QelColorSpace> newWithRange(double min, double max) const = 0;

    // The smallest and the largest legal code value.
    double minValue() const { return minValue_; }
    double maxValue() const { return maxValue_; }

  protected:
    QelColorSpace(int bands, double min, double max);
    QelColorSpace(QelColorSpace const & other);

    // For a copy that nobody has seen yet.
    void setFields(int bands, double min, double max);

  private:
    int numBands_;
    double minValue_;
    double maxValue_;
    std::atomic<bool> flag_{false};
};

// write(), or "NULL" for null. The second form takes every kind of pointer, counted or not, to a
// space of any class, const or not.
QEL_API std::ostream & operator<<(std::ostream & out, QelColorSpace const & space);
QEL_API std::ostream & operator<<(std::ostream & out, QelColorSpace const * space);
// Makes a space of the class that the text names, and lets it read. Raises invalidValue (13) for a
// class that is not registered in this process, and what read() raises; the pointer then stays as
// it is.
QEL_API std::istream & operator>>(std::istream & in, MoxSmartPtr<QelColorSpace> & space);
