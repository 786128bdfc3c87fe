#pragma once

#include <atomic>
#include <iosfwd>

#include "MoxSmartPtr.h"
#include "QelExport.h"
#include "ZanMutex.h"
#include "ZanRefCount.h"

// How to read the numbers of a pixel or a colour: the number of bands, their names, the legal code
// values, and whether one band is alpha. It is a tag with a range and does no conversion: the two
// ends of a connection compare their spaces, and image data carries one as a label.
//
// Held by MoxSmartPtr. Everything but the flag is fixed once a space is made or read, so any thread
// may query it.
//
// lock() locks a mutex, for callers that need one for each space. It waits while another thread
// holds it. The space itself never takes it, so it does not prevent changes. lock() of a
// QelAttribute is different: a flag that makes changes raise, and never waits.
class QEL_API QelColorSpace : public ZanRefCount, public ZanMutex {
  public:
    virtual ~QelColorSpace();
    QelColorSpace & operator=(QelColorSpace const &) = delete;

    virtual MoxSmartPtr<QelColorSpace> clone() const = 0;

    // Whether class, range and number of bands are the same. The flag is ignored.
    virtual bool isEqual(QelColorSpace const & other) const;
    // Whether the class is the same.
    virtual bool isSameType(QelColorSpace const & other) const;

    virtual int numBands() const;
    // The label of a band, from 0 on. Lives as long as the process.
    virtual char const * bandName(int index) const = 0;
    // The label of the space. Lives as long as the process.
    virtual char const * name() const = 0;
    // The name of the class.
    virtual char const * className() const;

    // The text form: the class name, "[b=", the bands, ", min=", the minimum, ", max=", the maximum
    // and "]"; numbers have the fewest digits that read back. write() raises invalidValue (13), and
    // writes nothing, if the text could not be read again: for a negative number of bands, a
    // minimum or maximum that is infinite or NaN, and a class name that contains "[" or starts with
    // "NULL". read() takes everything up to "[" and what follows. It raises invalidValue (13)
    // "Invalid QelColorSpace value" and changes nothing for malformed text or negative bands. Only
    // for a space not yet shared.
    virtual void write(std::ostream & out) const;
    virtual void read(std::istream & in);

    // False here.
    virtual bool isRGBLike() const;
    virtual bool isYCCLike() const;
    virtual bool hasAlpha() const;

    // The label of the same space with the alpha band added or removed; null if there is none, the
    // default.
    virtual char const * alphaPartnerName() const;

    // A flag for the caller's use: false at first, copied with the space.
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

    // For a copy that is not yet shared.
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
// Makes a space of the class that the text names, and reads it. Raises invalidValue (13) for a
// class that is not registered in this process, and what read() raises; the pointer is then
// unchanged.
QEL_API std::istream & operator>>(std::istream & in, MoxSmartPtr<QelColorSpace> & space);
