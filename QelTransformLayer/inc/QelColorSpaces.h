#pragma once

#include "QelColorSpace.h"

// The family of colour spaces. All of them are tags: a number of bands, names, and a range, which
// is 0.0 to 255.0 (0.0 to 1.0 for QelNormalizedColorSpace) unless the constructor says otherwise.
// No arithmetic turns one into another.
//
// Some classes share their label, the name(): the same encoding in another family of files (Fpx).
// They are distinct types nevertheless.

// One row of the table that all of them are made from. Lives as long as the process.
struct QelColorSpaceRow {
    static constexpr int maxBands = 4;

    char const * className;
    char const * name;
    char const * partner;  // the label of the space with alpha added or removed, or null
    int bands;
    bool alpha;
    double max;
    char const * bandNames[maxBands];  // "" behind the last
};

constexpr int qelColorSpaceRows = 53;
// Requires: 0 <= index < qelColorSpaceRows.
QEL_API QelColorSpaceRow const & qelColorSpaceRow(int index);

// Spaces whose bands are red, green and blue, whatever they are called.
class QEL_API QelRGBLikeColorSpace : public QelColorSpace {
  public:
    ~QelRGBLikeColorSpace() override;
    bool isRGBLike() const override;

  protected:
    using QelColorSpace::QelColorSpace;
    QelRGBLikeColorSpace(QelRGBLikeColorSpace const &) = default;
};

// Spaces of a luminance and two colour differences.
class QEL_API QelYCCLikeColorSpace : public QelColorSpace {
  public:
    ~QelYCCLikeColorSpace() override;
    bool isYCCLike() const override;

  protected:
    using QelColorSpace::QelColorSpace;
    QelYCCLikeColorSpace(QelYCCLikeColorSpace const &) = default;
};

// What each class of the family is made of: the class itself, its parent, and the index of its row.
// There are three constructors: default, (bands, minimum, maximum), and copy.
template <class Class, class Parent, int index>
class QelTableColorSpace : public Parent {
  public:
    QelTableColorSpace() : Parent(row().bands, 0.0, row().max) {}
    QelTableColorSpace(int bands, double min, double max) : Parent(bands, min, max) {}

    MoxSmartPtr<QelColorSpace> clone() const override { return copy().get(); }
    // "" for a band that the class does not name.
    char const * bandName(int band) const override {
        return band >= 0 && band < QelColorSpaceRow::maxBands ? row().bandNames[band] : "";
    }
    char const * name() const override { return row().name; }
    char const * className() const override { return row().className; }
    bool hasAlpha() const override { return row().alpha; }
    char const * alphaPartnerName() const override { return row().partner; }

    // A copy, whatever the class says about its bands.
    MoxSmartPtr<QelColorSpace> newWithBands(int bands) const override {
        MoxSmartPtr<Class> const changed = copy();
        changed->setFields(bands, this->minValue(), this->maxValue());
        return changed.get();
    }
    MoxSmartPtr<QelColorSpace> newWithRange(double min, double max) const override {
        MoxSmartPtr<Class> const changed = copy();
        changed->setFields(this->numBands(), min, max);
        return changed.get();
    }

  protected:
    QelTableColorSpace(QelTableColorSpace const &) = default;

  private:
    static QelColorSpaceRow const & row() { return qelColorSpaceRow(index); }
    MoxSmartPtr<Class> copy() const { return new Class(static_cast<Class const &>(*this)); }
};

// The bands mean nothing in particular.
class QEL_API QelGenericColorSpace
    : public QelTableColorSpace<QelGenericColorSpace, QelColorSpace, 0> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
    ~QelGenericColorSpace() override;

    // This very object where nothing changes.
    MoxSmartPtr<QelColorSpace> newWithBands(int bands) const override;
    MoxSmartPtr<QelColorSpace> newWithRange(double min, double max) const override;
};

class QEL_API QelGenericAColorSpace
    : public QelTableColorSpace<QelGenericAColorSpace, QelColorSpace, 1> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNormalizedColorSpace
    : public QelTableColorSpace<QelNormalizedColorSpace, QelGenericColorSpace, 2> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRGBColorSpace
    : public QelTableColorSpace<QelRGBColorSpace, QelRGBLikeColorSpace, 3> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRGBAColorSpace
    : public QelTableColorSpace<QelRGBAColorSpace, QelRGBLikeColorSpace, 4> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelLumColorSpace : public QelTableColorSpace<QelLumColorSpace, QelColorSpace, 5> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelLumAColorSpace : public QelTableColorSpace<QelLumAColorSpace, QelColorSpace, 6> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelHRZYCCColorSpace
    : public QelTableColorSpace<QelHRZYCCColorSpace, QelYCCLikeColorSpace, 7> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelHRZYCCAColorSpace
    : public QelTableColorSpace<QelHRZYCCAColorSpace, QelYCCLikeColorSpace, 8> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelHRZRGBColorSpace
    : public QelTableColorSpace<QelHRZRGBColorSpace, QelRGBLikeColorSpace, 9> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelHRZRGBAColorSpace
    : public QelTableColorSpace<QelHRZRGBAColorSpace, QelRGBLikeColorSpace, 10> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelYCbCrColorSpace
    : public QelTableColorSpace<QelYCbCrColorSpace, QelYCCLikeColorSpace, 11> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelYCbCrAColorSpace
    : public QelTableColorSpace<QelYCbCrAColorSpace, QelYCCLikeColorSpace, 12> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelHRZLumColorSpace
    : public QelTableColorSpace<QelHRZLumColorSpace, QelColorSpace, 13> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelHRZLumAColorSpace
    : public QelTableColorSpace<QelHRZLumAColorSpace, QelColorSpace, 14> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxYCCColorSpace
    : public QelTableColorSpace<QelFpxYCCColorSpace, QelYCCLikeColorSpace, 15> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxYCCAColorSpace
    : public QelTableColorSpace<QelFpxYCCAColorSpace, QelYCCLikeColorSpace, 16> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxRGBColorSpace
    : public QelTableColorSpace<QelFpxRGBColorSpace, QelRGBLikeColorSpace, 17> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxRGBAColorSpace
    : public QelTableColorSpace<QelFpxRGBAColorSpace, QelRGBLikeColorSpace, 18> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxYCbCrColorSpace
    : public QelTableColorSpace<QelFpxYCbCrColorSpace, QelYCCLikeColorSpace, 19> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxYCbCrAColorSpace
    : public QelTableColorSpace<QelFpxYCbCrAColorSpace, QelYCCLikeColorSpace, 20> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxLumColorSpace
    : public QelTableColorSpace<QelFpxLumColorSpace, QelColorSpace, 21> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelFpxLumAColorSpace
    : public QelTableColorSpace<QelFpxLumAColorSpace, QelColorSpace, 22> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelAdobeSRGBColorSpace
    : public QelTableColorSpace<QelAdobeSRGBColorSpace, QelRGBLikeColorSpace, 23> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelAdobeSRGBAColorSpace
    : public QelTableColorSpace<QelAdobeSRGBAColorSpace, QelRGBLikeColorSpace, 24> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelCIEXYZColorSpace
    : public QelTableColorSpace<QelCIEXYZColorSpace, QelColorSpace, 25> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelCMYColorSpace : public QelTableColorSpace<QelCMYColorSpace, QelColorSpace, 26> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelCMYKColorSpace : public QelTableColorSpace<QelCMYKColorSpace, QelColorSpace, 27> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelWTBRGBColorSpace
    : public QelTableColorSpace<QelWTBRGBColorSpace, QelRGBLikeColorSpace, 28> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelWTBRGBAColorSpace
    : public QelTableColorSpace<QelWTBRGBAColorSpace, QelRGBLikeColorSpace, 29> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelERIMMColorSpace
    : public QelTableColorSpace<QelERIMMColorSpace, QelRGBLikeColorSpace, 30> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNIF8BitColorSpace
    : public QelTableColorSpace<QelNIF8BitColorSpace, QelRGBLikeColorSpace, 31> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNIFA8BitColorSpace
    : public QelTableColorSpace<QelNIFA8BitColorSpace, QelRGBLikeColorSpace, 32> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNIFColorSpace
    : public QelTableColorSpace<QelNIFColorSpace, QelRGBLikeColorSpace, 33> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNIFAColorSpace
    : public QelTableColorSpace<QelNIFAColorSpace, QelRGBLikeColorSpace, 34> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNIFPColorSpace
    : public QelTableColorSpace<QelNIFPColorSpace, QelRGBLikeColorSpace, 35> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelNIFAPColorSpace
    : public QelTableColorSpace<QelNIFAPColorSpace, QelRGBLikeColorSpace, 36> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelPCSCIELABColorSpace
    : public QelTableColorSpace<QelPCSCIELABColorSpace, QelColorSpace, 37> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelPCSXYZColorSpace
    : public QelTableColorSpace<QelPCSXYZColorSpace, QelColorSpace, 38> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRIMColorSpace
    : public QelTableColorSpace<QelRIMColorSpace, QelRGBLikeColorSpace, 39> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRIMAColorSpace
    : public QelTableColorSpace<QelRIMAColorSpace, QelRGBLikeColorSpace, 40> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRIMMColorSpace
    : public QelTableColorSpace<QelRIMMColorSpace, QelRGBLikeColorSpace, 41> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRIMMAColorSpace
    : public QelTableColorSpace<QelRIMMAColorSpace, QelRGBLikeColorSpace, 42> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRIMRGBColorSpace
    : public QelTableColorSpace<QelRIMRGBColorSpace, QelRGBLikeColorSpace, 43> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelROMColorSpace
    : public QelTableColorSpace<QelROMColorSpace, QelRGBLikeColorSpace, 44> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelROMAColorSpace
    : public QelTableColorSpace<QelROMAColorSpace, QelRGBLikeColorSpace, 45> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelROMMColorSpace
    : public QelTableColorSpace<QelROMMColorSpace, QelRGBLikeColorSpace, 46> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelROMMAColorSpace
    : public QelTableColorSpace<QelROMMAColorSpace, QelRGBLikeColorSpace, 47> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelRPDColorSpace
    : public QelTableColorSpace<QelRPDColorSpace, QelRGBLikeColorSpace, 48> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelSRGBColorSpace
    : public QelTableColorSpace<QelSRGBColorSpace, QelRGBLikeColorSpace, 49> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelSRGBAColorSpace
    : public QelTableColorSpace<QelSRGBAColorSpace, QelRGBLikeColorSpace, 50> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelTSpaceColorSpace
    : public QelTableColorSpace<QelTSpaceColorSpace, QelColorSpace, 51> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};

class QEL_API QelUSpaceColorSpace
    : public QelTableColorSpace<QelUSpaceColorSpace, QelColorSpace, 52> {
  public:
    using QelTableColorSpace::QelTableColorSpace;
};
