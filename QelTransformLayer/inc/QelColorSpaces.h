#pragma once

#include "QelColorSpace.h"

// The family of colour spaces. All of them are tags: a number of bands, names, and a range, which
// is 0.0 to 255.0 (0.0 to 1.0 for QelNormalizedColorSpace) unless the constructor says otherwise.
// No arithmetic turns one into another.
//
// Some classes share their label, the name(): the same encoding in another family of files (Fpx).
// They are still distinct types.

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

// The index of each class of the family in the library's own list. Not for clients.
class QEL_API QelColorSpaceFamily {
    template <class Class, class Parent, int place>
    friend class QelFamilyColorSpace;

    static constexpr int size = 53;

    static char const * className(int place);
    static char const * name(int place);
    static char const * partner(int place);
    static char const * bandName(int place, int band);
    static bool hasAlpha(int place);
    static int bands(int place);
    static double max(int place);
};

// What the classes of the family have in common; not used by itself. `place` is the class's index
// in the library's own list, from which everything else about it follows.
// There are three constructors: default, (bands, minimum, maximum), and copy.
template <class Class, class Parent, int place>
class QelFamilyColorSpace : public Parent {
    using Family = QelColorSpaceFamily;
    static_assert(place >= 0 && place < Family::size);

  public:
    QelFamilyColorSpace() : Parent(Family::bands(place), 0.0, Family::max(place)) {}
    QelFamilyColorSpace(int bands, double min, double max) : Parent(bands, min, max) {}

    MoxSmartPtr<QelColorSpace> clone() const override { return copy().get(); }
    // "" for a band that the class does not name.
    char const * bandName(int band) const override { return Family::bandName(place, band); }
    char const * name() const override { return Family::name(place); }
    char const * className() const override { return Family::className(place); }
    bool hasAlpha() const override { return Family::hasAlpha(place); }
    char const * alphaPartnerName() const override { return Family::partner(place); }

    // Copies, even with a number of bands that the class does not allow.
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
    QelFamilyColorSpace(QelFamilyColorSpace const &) = default;

  private:
    MoxSmartPtr<Class> copy() const { return new Class(static_cast<Class const &>(*this)); }
};

// The bands mean nothing in particular.
class QEL_API QelGenericColorSpace
    : public QelFamilyColorSpace<QelGenericColorSpace, QelColorSpace, 0> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
    ~QelGenericColorSpace() override;

    // This object itself if nothing changes; a clone if it has no owners, as on a stack.
    MoxSmartPtr<QelColorSpace> newWithBands(int bands) const override;
    MoxSmartPtr<QelColorSpace> newWithRange(double min, double max) const override;

  private:
    MoxSmartPtr<QelColorSpace> self() const;
};

class QEL_API QelGenericAColorSpace
    : public QelFamilyColorSpace<QelGenericAColorSpace, QelColorSpace, 1> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNormalizedColorSpace
    : public QelFamilyColorSpace<QelNormalizedColorSpace, QelGenericColorSpace, 2> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRGBColorSpace
    : public QelFamilyColorSpace<QelRGBColorSpace, QelRGBLikeColorSpace, 3> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRGBAColorSpace
    : public QelFamilyColorSpace<QelRGBAColorSpace, QelRGBLikeColorSpace, 4> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelLumColorSpace : public QelFamilyColorSpace<QelLumColorSpace, QelColorSpace, 5> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelLumAColorSpace : public QelFamilyColorSpace<QelLumAColorSpace, QelColorSpace, 6> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelHRZYCCColorSpace
    : public QelFamilyColorSpace<QelHRZYCCColorSpace, QelYCCLikeColorSpace, 7> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelHRZYCCAColorSpace
    : public QelFamilyColorSpace<QelHRZYCCAColorSpace, QelYCCLikeColorSpace, 8> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelHRZRGBColorSpace
    : public QelFamilyColorSpace<QelHRZRGBColorSpace, QelRGBLikeColorSpace, 9> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelHRZRGBAColorSpace
    : public QelFamilyColorSpace<QelHRZRGBAColorSpace, QelRGBLikeColorSpace, 10> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelYCbCrColorSpace
    : public QelFamilyColorSpace<QelYCbCrColorSpace, QelYCCLikeColorSpace, 11> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelYCbCrAColorSpace
    : public QelFamilyColorSpace<QelYCbCrAColorSpace, QelYCCLikeColorSpace, 12> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelHRZLumColorSpace
    : public QelFamilyColorSpace<QelHRZLumColorSpace, QelColorSpace, 13> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelHRZLumAColorSpace
    : public QelFamilyColorSpace<QelHRZLumAColorSpace, QelColorSpace, 14> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxYCCColorSpace
    : public QelFamilyColorSpace<QelFpxYCCColorSpace, QelYCCLikeColorSpace, 15> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxYCCAColorSpace
    : public QelFamilyColorSpace<QelFpxYCCAColorSpace, QelYCCLikeColorSpace, 16> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxRGBColorSpace
    : public QelFamilyColorSpace<QelFpxRGBColorSpace, QelRGBLikeColorSpace, 17> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxRGBAColorSpace
    : public QelFamilyColorSpace<QelFpxRGBAColorSpace, QelRGBLikeColorSpace, 18> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxYCbCrColorSpace
    : public QelFamilyColorSpace<QelFpxYCbCrColorSpace, QelYCCLikeColorSpace, 19> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxYCbCrAColorSpace
    : public QelFamilyColorSpace<QelFpxYCbCrAColorSpace, QelYCCLikeColorSpace, 20> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxLumColorSpace
    : public QelFamilyColorSpace<QelFpxLumColorSpace, QelColorSpace, 21> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelFpxLumAColorSpace
    : public QelFamilyColorSpace<QelFpxLumAColorSpace, QelColorSpace, 22> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelAdobeSRGBColorSpace
    : public QelFamilyColorSpace<QelAdobeSRGBColorSpace, QelRGBLikeColorSpace, 23> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelAdobeSRGBAColorSpace
    : public QelFamilyColorSpace<QelAdobeSRGBAColorSpace, QelRGBLikeColorSpace, 24> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelCIEXYZColorSpace
    : public QelFamilyColorSpace<QelCIEXYZColorSpace, QelColorSpace, 25> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelCMYColorSpace : public QelFamilyColorSpace<QelCMYColorSpace, QelColorSpace, 26> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelCMYKColorSpace : public QelFamilyColorSpace<QelCMYKColorSpace, QelColorSpace, 27> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelWTBRGBColorSpace
    : public QelFamilyColorSpace<QelWTBRGBColorSpace, QelRGBLikeColorSpace, 28> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelWTBRGBAColorSpace
    : public QelFamilyColorSpace<QelWTBRGBAColorSpace, QelRGBLikeColorSpace, 29> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelERIMMColorSpace
    : public QelFamilyColorSpace<QelERIMMColorSpace, QelRGBLikeColorSpace, 30> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNIF8BitColorSpace
    : public QelFamilyColorSpace<QelNIF8BitColorSpace, QelRGBLikeColorSpace, 31> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNIFA8BitColorSpace
    : public QelFamilyColorSpace<QelNIFA8BitColorSpace, QelRGBLikeColorSpace, 32> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNIFColorSpace
    : public QelFamilyColorSpace<QelNIFColorSpace, QelRGBLikeColorSpace, 33> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNIFAColorSpace
    : public QelFamilyColorSpace<QelNIFAColorSpace, QelRGBLikeColorSpace, 34> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNIFPColorSpace
    : public QelFamilyColorSpace<QelNIFPColorSpace, QelRGBLikeColorSpace, 35> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelNIFAPColorSpace
    : public QelFamilyColorSpace<QelNIFAPColorSpace, QelRGBLikeColorSpace, 36> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelPCSCIELABColorSpace
    : public QelFamilyColorSpace<QelPCSCIELABColorSpace, QelColorSpace, 37> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelPCSXYZColorSpace
    : public QelFamilyColorSpace<QelPCSXYZColorSpace, QelColorSpace, 38> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRIMColorSpace
    : public QelFamilyColorSpace<QelRIMColorSpace, QelRGBLikeColorSpace, 39> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRIMAColorSpace
    : public QelFamilyColorSpace<QelRIMAColorSpace, QelRGBLikeColorSpace, 40> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRIMMColorSpace
    : public QelFamilyColorSpace<QelRIMMColorSpace, QelRGBLikeColorSpace, 41> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRIMMAColorSpace
    : public QelFamilyColorSpace<QelRIMMAColorSpace, QelRGBLikeColorSpace, 42> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRIMRGBColorSpace
    : public QelFamilyColorSpace<QelRIMRGBColorSpace, QelRGBLikeColorSpace, 43> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelROMColorSpace
    : public QelFamilyColorSpace<QelROMColorSpace, QelRGBLikeColorSpace, 44> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelROMAColorSpace
    : public QelFamilyColorSpace<QelROMAColorSpace, QelRGBLikeColorSpace, 45> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelROMMColorSpace
    : public QelFamilyColorSpace<QelROMMColorSpace, QelRGBLikeColorSpace, 46> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelROMMAColorSpace
    : public QelFamilyColorSpace<QelROMMAColorSpace, QelRGBLikeColorSpace, 47> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelRPDColorSpace
    : public QelFamilyColorSpace<QelRPDColorSpace, QelRGBLikeColorSpace, 48> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelSRGBColorSpace
    : public QelFamilyColorSpace<QelSRGBColorSpace, QelRGBLikeColorSpace, 49> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelSRGBAColorSpace
    : public QelFamilyColorSpace<QelSRGBAColorSpace, QelRGBLikeColorSpace, 50> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelTSpaceColorSpace
    : public QelFamilyColorSpace<QelTSpaceColorSpace, QelColorSpace, 51> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};

class QEL_API QelUSpaceColorSpace
    : public QelFamilyColorSpace<QelUSpaceColorSpace, QelColorSpace, 52> {
  public:
    using QelFamilyColorSpace::QelFamilyColorSpace;
};
