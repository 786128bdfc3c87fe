#pragma once

#include <vector>

#include "QelDimension.h"
#include "QelResolution.h"

// One of the two axes of an image: an extent and the resolutions at which it exists, each with the
// number of samples across the extent. Their order matters: entry i of the x dimension of a
// coordinate space and entry i of its y dimension belong together.
//
// A pixel based dimension has exactly one resolution, of 1.0 dot per pixel, a relative one none,
// others any number. Entries are arbitrary or full; a change of the extent keeps the dots per unit
// and recounts the samples ("keep dpu"), or vice versa.
//
// An operation that raises changes nothing, except scalePixels(), see there.
class QEL_API QelXyDimension : public QelDimension {
  public:
    // As QelDimension.
    QelXyDimension(std::string name, unsigned pixels);
    template <std::integral Number>
    QelXyDimension(std::string name, Number pixels)
        : QelXyDimension(std::move(name), qelPixelCount(pixels)) {}
    template <std::floating_point Number>
    QelXyDimension(std::string name, Number pixels) = delete;
    QelXyDimension(std::string name, QelValue const & width);
    QelXyDimension(std::string name, QelValue const & origin, QelValue const & width, int discrete);
    // With one resolution, or a list. Raise unsuitableUnit (312) if the kind of dimension does not
    // allow it.
    QelXyDimension(std::string name, QelValue const & origin, QelValue const & width,
                   QelResolution const & resolution, int discrete);
    QelXyDimension(std::string name, QelValue const & origin, QelValue const & width,
                   std::vector<QelResolution> const & resolutions, int discrete);
    QelXyDimension(QelXyDimension const &) = default;
    ~QelXyDimension() override;

    std::unique_ptr<QelDimension> clone() const override;

    // Leaves the one resolution in pixels and none in a relative unit; in other units the samples
    // are kept.
    void setUnit(int unit) override;

    // The samples are kept; in pixels, the dots per unit.
    void setWidth(QelValue const & width) override;
    void setRange(QelValueRange const & range) override;
    void scale(double factor) override;
    // With `keepDpu`, and in pixels, the dots per unit are kept, otherwise the samples.
    virtual void setWidth(QelValue const & width, bool keepDpu);
    virtual void setRange(QelValueRange const & range, bool keepDpu);
    virtual void scale(double factor, bool keepDpu);

    // `resolution` in full form for this dimension: dots per its unit, and the samples across it,
    // rounded to the nearest. An arbitrary one stays so. Raises unsuitableUnit (312) for a width of
    // 0.0, cannotConvertUnit (306) for units that do not convert, noSamples (405) for less than
    // half a sample, and invalidValue (13) "pixel count ", the number and " is not from 0 to
    // 4294967295" for more than that. So does every operation that recounts samples.
    QelResolution specify(QelResolution const & resolution) const;

    // Raises unsuitableUnit (312) in relative units and in pixels.
    void addResolution(QelResolution const & resolution);
    void clearResolutions();
    void removeResolution(unsigned index);
    void replaceResolution(unsigned index, QelResolution const & resolution);
    // Raise outOfRange (7) for a bad index.
    QelResolution const & resolution(unsigned index) const;
    unsigned numResolutions() const { return static_cast<unsigned>(resolutions_.size()); }

    // Multiply the samples of every entry, or of one, rounded down, and leave the extent alone;
    // arbitrary entries stay. In pixels it is the extent that changes. Raise illegalFactor (310)
    // for a factor that is not above 0.0, and for a numerator or denominator of 0; outOfRange (7)
    // for a bad index; noSamples (405) if no sample is left, and invalidValue (13) for more than
    // 4294967295, with the entries before that one already changed.
    //
    // The argument types decide which form is called: scalePixels(2, 2) is the ratio 2/2, which
    // changes nothing, scalePixels(2U, 2.0) doubles the samples of entry 2.
    void scalePixels(double factor);
    void scalePixels(unsigned index, double factor);
    void scalePixels(int denominator, int numerator);
    // In pixels, index 0 scales the extent by the numerator alone.
    void scalePixels(unsigned index, int denominator, int numerator);

  private:
    friend class QelXyCoordSpace;

    void addOwnResolution();
    void checkPixelBased(QelResolution const & resolution) const;
    void checkIndex(unsigned index, char const * operation) const;
    void checkListChange(char const * action) const;
    void refresh(bool keepDpu);
    template <class Change>
    void change(bool keepDpu, Change const & apply);
    void setSamples(QelResolution & entry, std::uint32_t count);
    void dropResolutions() { resolutions_.clear(); }

    std::vector<QelResolution> resolutions_;
};
