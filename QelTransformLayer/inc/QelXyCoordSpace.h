#pragma once

#include <cstdint>
#include <iosfwd>
#include <vector>

#include "QelCoordSpace.h"
#include "QelTileId.h"
#include "QelXyDimension.h"

// The coordinate space of an image: dimension 0 is "x", dimension 1 is "y"; any others are passed
// on unchanged. The two share one unit and a list of resolutions: the sampling grids at which the
// image exists or can be computed. One of them may be selected; positions in pixels are then
// positions in that grid.
//
// Kinds of spaces:
// - pixel based: in pixels; exactly one resolution of 1.0 dot per pixel, always selected;
// - relative: in a relative unit; no size and no resolutions;
// - physical (all other units): one resolution ("single-res"), several, or none. An entry that
//   is arbitrary in both halves ("arbitrary-res") stands for every resolution.
//
// An operation that raises changes nothing, unless it says otherwise.
class QEL_API QelXyCoordSpace : public QelCoordSpace, public QelPixelExtent {
  public:
    // One row of the list of resolutions.
    struct Resolution {
        QelResolution horz;
        QelResolution vert;
    };

    // Bits of findClosestResolution().
    static constexpr unsigned allowSmaller = 1;
    static constexpr unsigned allowLarger = 2;
    static constexpr unsigned excludeArbitrary = 8;

    // One pixel by one pixel, or 1.0 by 1.0 in another unit, without resolutions.
    explicit QelXyCoordSpace(int unit);
    template <std::floating_point Number>
    explicit QelXyCoordSpace(Number unit) = delete;
    // Pixel based. Raises zeroPixelsWide (407) "Cannot construct zero pixel-wide coordinate space",
    // zeroPixelsHigh (408) "Cannot construct zero pixel-high coordinate space", and what
    // qelPixelCount() raises. Numbers with a fraction do not compile: give a size that is not in
    // pixels as QelValues.
    QelXyCoordSpace(unsigned width, unsigned height);
    template <std::integral Width, std::integral Height>
    QelXyCoordSpace(Width width, Height height)
        : QelXyCoordSpace{qelPixelCount(width), qelPixelCount(height)} {}
    template <class Width, QelFloatingAmong<Width> Height>
    QelXyCoordSpace(Width width, Height height) = delete;
    // Continuous from 0.0, without resolutions; pixel based, rounded, if the width is in pixels.
    // The height is converted to the width's unit. Raises illegalWorldWidth (412) or
    // illegalWorldHeight (413) for a size that is not above 0.0, unsuitableUnit (312) for a
    // relative unit, invalidValue (13) for more than 4294967295 pixels.
    QelXyCoordSpace(QelValue const & width, QelValue const & height);
    // The size of `resolution`'s pixels at its dots per unit, in the unit of its horizontal half,
    // with this single row. Raises unsuitableResolution (402) for a relative unit, and for pixels
    // with dots per unit other than 1.0; illegalDotsPerUnit (303) for dots per unit that are not
    // above 0.0; zeroPixelsWide (407) and zeroPixelsHigh (408) for 0 pixels.
    explicit QelXyCoordSpace(Resolution const & resolution);
    QelXyCoordSpace(QelXyCoordSpace const & other);
    QelXyCoordSpace & operator=(QelXyCoordSpace const & other);
    ~QelXyCoordSpace() override;

    MoxSmartPtr<QelCoordSpace> clone() const override;
    // The text form, see operator>>.
    void print(std::ostream & out) const override;

    // For dimensions 0 and 1, setXyUnit(). Raises cannotConvertDimension (311) for further
    // dimensions in pixels or a relative unit.
    void setDimensionUnit(unsigned index, int unit) override;
    void setUnit(int unit) override;
    // The samples are kept (in pixels, the dots per unit).
    void scaleDimension(unsigned index, double factor) override;
    void scale(double factor) override;
    void translateDimension(unsigned index, QelValue const & distance) override;
    // Raise unsupported (9) for x and y.
    void setDimension(unsigned index, QelDimension const & dimension) override;
    using QelCoordSpace::setDimension;

    virtual MoxSmartPtr<QelXyCoordSpace> cloneXy() const;
    // Converts both axes. Into pixels the space must have a selection (410); its samples become the
    // extent. Into a relative unit the resolutions are dropped. Otherwise the samples are kept.
    virtual void setXyUnit(int unit);

    // With `keepDpu` the dots per unit stay, otherwise the samples. A negative factor mirrors the
    // axis. Raise illegalFactor (310) for a factor of 0.0. The first two scale all dimensions, or
    // one.
    virtual void scaleDimension(unsigned index, double factor, bool keepDpu);
    virtual void scale(double factor, bool keepDpu);
    virtual void scaleX(double factor, bool keepDpu);
    virtual void scaleY(double factor, bool keepDpu);
    virtual void scaleXY(double factor, bool keepDpu);
    // The width alone, from the same origin. Raise illegalFactor (310) for a factor that is not
    // above 0.0.
    virtual void scaleWidth(double factor, bool keepDpu);
    virtual void scaleHeight(double factor, bool keepDpu);
    virtual void scaleWidthHeight(double factor, bool keepDpu);
    // Transposes the space: swaps x and y, with everything that belongs to them.
    virtual void swapXY();

    // Extent and origin of axis 0 or 1; another one raises outOfRange (7). A value in pixels refers
    // to the selected resolution (unsuitableUnit (312) without one), an origin in pixels to a
    // pixel's centre; a value in a relative unit refers to the current extents. setOrigin() does
    // nothing in pixels and raises unsuitableUnit (312) in a relative unit; setWidth() raises
    // unsuitableUnit (312) in a relative unit and illegalExtent (411) for less than a pixel.
    void setOrigin(unsigned axis, QelValue const & origin);
    void setWidth(unsigned axis, QelValue const & width, bool keepDpu);

    int unit() const { return xDimension().unit(); }
    QelValue const & width() const { return xDimension().width(); }
    QelValue const & height() const { return yDimension().width(); }
    QelXyDimension const & xDimension() const { return axis(0); }
    QelXyDimension const & yDimension() const { return axis(1); }
    bool isPixelBased() const { return xDimension().isPixelBased(); }
    bool isRelative() const { return xDimension().isRelative(); }

    // ---- Resolutions

    unsigned numResolutions() const { return xDimension().numResolutions(); }
    // Raises outOfRange (7).
    Resolution getResolution(unsigned index) const;
    bool isArbitraryRes() const;
    bool hasPixelResolution(std::uint32_t widthPixels, std::uint32_t heightPixels) const;
    // This, like all that take a resolution in dots per unit, raises cannotConvertUnit (306) for a
    // unit that does not convert, noSamples (405) for less than half a sample, and invalidValue
    // (13) "pixel count ", the number and " is not from 0 to 4294967295" for more samples than
    // that.
    bool supportsResolution(Resolution const & resolution) const;

    // All raise unsuitableUnit (312) in a relative unit. In pixels, adding a row changes the size
    // (unsuitableUnit (312) for an arbitrary half), and removing one does nothing. addResolution()
    // raises zeroPixelsWide (407) and zeroPixelsHigh (408) for 0 pixels, removeResolution()
    // outOfRange (7). A selection stays, even when its row is removed.
    void addResolution(Resolution const & resolution);
    void addResolution(std::uint32_t widthPixels, std::uint32_t heightPixels);
    void removeResolution(unsigned index);

    // Selects the first row with these counts; arbitrary halves match any. Raise zeroPixelsWide
    // (407) for 0, noSuchResolution (409) for counts that no row has.
    void selectResolution(std::uint32_t widthPixels, std::uint32_t heightPixels);
    void selectResolution(Resolution const & resolution);
    // Does nothing in pixels.
    void clearSelection();
    bool hasSelectedResolution() const;
    Resolution const & selectedResolution() const { return selected_; }
    // Of the selected resolution; 0 without one. The signed ones raise invalidValue (13) "pixel
    // count ", the number and " is not from 0 to 2147483647".
    std::uint32_t numPixelsWide() const { return selected_.horz.pixels; }
    std::uint32_t numPixelsHigh() const { return selected_.vert.pixels; }
    std::int32_t selectedPixelWidth() const override;
    std::int32_t selectedPixelHeight() const override;

    // The horizontal resolution that belongs to the vertical one `y`, and vice versa. Raise
    // arbitraryResolution (403) for an arbitrary one, noSuchResolution (409) for one in no row.
    QelResolution findHorzResolution(QelResolution const & y) const;
    QelResolution findVertResolution(QelResolution const & x) const;

    // The row closest to these counts among those that `mode` allows: bits allowSmaller,
    // allowLarger, excludeArbitrary. A count of 0 ignores its axis. False if there is none or both
    // are 0; `found` is then unchanged.
    bool findClosestResolution(Resolution & found, std::uint32_t widthPixels,
                               std::uint32_t heightPixels, unsigned mode) const;
    // The same by dots per unit; an arbitrary half ignores its axis.
    bool findClosestResolution(Resolution & found, Resolution const & wanted, unsigned mode) const;

    // The row with the most pixels; 0 and 0 for an arbitrary-res space. Rows that are arbitrary on
    // one axis win, with 0 for that axis. Raises noSelectedResolution (410) without resolutions.
    void getMaxResolution(std::uint32_t & width, std::uint32_t & height) const;

    // Keeps the rows that `other` has too, by pixels, or by dots per unit (see
    // QelResolution::isEquivalent()). A null `other` has none. Raise noCommonResolution (600) "No
    // remaining resolutions" if a pixel based space would lose its resolution.
    void intersectResolutions(QelXyCoordSpace const * other);
    void intersectDpuResolutions(QelXyCoordSpace const * other, double tolerance, bool relative);

    // Multiplies the samples of every row, rounded down, by factors or by a ratio, and with
    // `keepSelection` those of the selection, which is otherwise cleared; a ratio of 1 keeps it.
    // Raise what QelXyDimension::scalePixels() raises, and unsuitableResolution (402) if no row is
    // left for the selection.
    //
    // The argument types decide which form is called: scalePixels(2, 2, true) is the ratio 2/2,
    // which changes nothing, scalePixels(2.0, 2.0, true) doubles the samples on both axes.
    void scalePixels(double x, double y, bool keepSelection);
    void scalePixels(int denominator, int numerator, bool keepSelection);

    // Whether this space has the unit of `other`, its size, to within a dot of `other`, and its
    // selected resolution. Raises nothing.
    bool isCompatible(QelXyCoordSpace const & other) const;

    // A space with other extents and the same dots per unit in each row. Raises pixelCountsDiffer
    // (128) if a pixel based space would change size.
    MoxSmartPtr<QelXyCoordSpace> newSpace(QelValue const & width, QelValue const & height) const;

    // ---- Conversions

    // A position, a distance or a range along an axis, in another unit: pixels of the selected
    // resolution (of the only one, without a selection), parts of the extents, or physical.
    //
    // `discrete`, toward pixels: whole pixels; the last pixel whose centre is at or before the
    // position, or the pixels whose centres lie in the closed range. From pixels: a position or the
    // start of a range is a pixel's centre, not its near edge.
    //
    // Raise noSelectedResolution (410) for pixels without a selection unless there is exactly one
    // resolution, arbitraryResolution (403) if that is arbitrary, and cannotConvertUnit (306) for
    // units that do not convert.
    QelValue convertHorzPosition(QelValue const & position, int unit, bool discrete = false) const;
    QelValue convertVertPosition(QelValue const & position, int unit, bool discrete = false) const;
    QelValue convertHorzSpan(QelValue const & span, int unit, bool discrete = false) const;
    QelValue convertVertSpan(QelValue const & span, int unit, bool discrete = false) const;
    QelValueRange convertHorzRange(QelValueRange const & range, int unit,
                                   bool discrete = false) const;
    QelValueRange convertVertRange(QelValueRange const & range, int unit,
                                   bool discrete = false) const;

  protected:
    void checkFree(unsigned index, char const * operation) const override;
    void extentsChanged() override;

  private:
    friend class QelXyCoordSpaceReader;
    class Converter;

    QelXyDimension const & axis(unsigned index) const {
        return static_cast<QelXyDimension const &>(*body().dimensions[index]);
    }
    static QelXyDimension & axisOf(DimensionSet & set, unsigned index) {
        return static_cast<QelXyDimension &>(*set.dimensions[index]);
    }
    QelXyDimension & uniqueAxis(unsigned index) { return axisOf(uniqueBody(), index); }
    QelResolution const & selectedOn(unsigned index) const {
        return index == 0 ? selected_.horz : selected_.vert;
    }
    QelResolution & selectedOn(unsigned index) {
        return index == 0 ? selected_.horz : selected_.vert;
    }

    // Runs `change` on a copy of the space, and keeps the copy if nothing is raised.
    template <class Change>
    void edit(Change const & change) {
        QelXyCoordSpace copy(*this);
        change(copy);
        *this = copy;
    }

    void recomputeSelection();
    void restoreSelection(Resolution const & selected);
    void refreshSelection(unsigned axis, bool keepDpu);
    void reselect(std::uint32_t width, std::uint32_t height, bool keepSelection);
    void checkResolutionsChangeable() const;
    void checkRowIndex(unsigned index) const;
    Resolution specified(Resolution const & resolution) const;
    void addRow(Resolution const & row);
    void dropRows();
    void replaceRows(std::vector<Resolution> const & rows);
    void setPixelSize(std::uint32_t width, std::uint32_t height);
    void becomePixelBased();
    void becomeRelative(int unit);
    void scaleAxis(unsigned axis, double factor, bool keepDpu);
    void scaleExtent(unsigned axis, double factor, bool keepDpu);
    QelValue resolveSpan(unsigned axis, QelValue const & value) const;
    QelValue resolvePosition(unsigned axis, QelValue const & value) const;
    QelResolution findPartner(unsigned axis, QelResolution const & given) const;

    Resolution selected_;
};

// The text form: "QelXyCoordSpace[w=", the width, ", h=", the height, ", ", then if there are
// resolutions the rows, separated by ", ", and ": sel=" and the selection; and "]". A row is
// "QelXyCoordSpace::Resolution[", its pixels "WIDTH,HEIGHT:", its dots per unit "X,Y/", the
// singular name of the unit, and "]".
//
// The reader accepts no blank before "h=", so the writer's own text raises invalidValue (13) "Bad
// unit for QelValue". It takes "]" right after the height as an empty list. Raises invalidValue
// (13) too for a width or height that is not above 0.0 ("Width must be greater than 0.0", "Height
// must be greater than 0.0"), for a bad row ("Invalid QelXyCoordSpace::Resolution"), for text that
// ends early ("Invalid QelXyCoordSpace value"); and what the constructors and addResolution()
// raise. The space is then unchanged.
QEL_API std::istream & operator>>(std::istream & in, QelXyCoordSpace & space);

// The same for a pointer: null is "NULL".
QEL_API std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelXyCoordSpace> const & space);
QEL_API std::istream & operator>>(std::istream & in, MoxSmartPtr<QelXyCoordSpace> & space);
