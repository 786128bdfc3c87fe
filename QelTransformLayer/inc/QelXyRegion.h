#pragma once

#include <atomic>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <string>

#include "QelPolygon.h"
#include "QelRect.h"
#include "QelRegion.h"
#include "QelTileId.h"
#include "QelXyBox.h"
#include "QelXyCoordSpace.h"
#include "QelXyPoint.h"

// A region with a rectangular bounding box in a QelXyCoordSpace. The box may be in any unit that
// the space can convert, and is always clipped to the space's extents: pixels to 0 and the last
// pixel of the selected resolution, parts of the image to 0.0 and 1.0, others to the extents in
// that unit. A box wholly outside becomes a range of width 0.0 at the nearer edge. A range that is
// cut then has both ends closed, and is discrete in pixels, continuous otherwise.
//
// Copies share box and space until one of them is changed. Ranges in other units are converted once
// and cached until the region changes. Several threads may read one region; copies are independent.
//
// All operations that set the box raise noSelectedResolution (410) for one in pixels without a
// selected resolution, and cannotConvertUnit (306) for a relative unit that the space does not have
// or a unit that does not convert. An operation that raises changes nothing.
class QEL_API QelXyRegion : public QelRegion {
  public:
    // Walks the tiles that a region touches, row by row from the left. This base forwards to the
    // iterator of the region's class.
    class QEL_API Iterator {
      public:
        // Raises nullPointer (4) "Null region provided to Iterator".
        explicit Iterator(std::unique_ptr<Iterator> walker);
        Iterator(Iterator const &) = delete;
        Iterator & operator=(Iterator const &) = delete;
        virtual ~Iterator();

        // Requires: !isDone().
        virtual QelTileId tile() const { return walker_->tile(); }
        virtual bool isDone() const { return walker_->isDone(); }
        virtual void next() { walker_->next(); }

      protected:
        Iterator() = default;

      private:
        std::unique_ptr<Iterator> walker_;
    };

    QelXyRegion(QelXyRegion const & other);
    QelXyRegion & operator=(QelXyRegion const & other);
    ~QelXyRegion() override;

    MoxConstSmartPtr<QelCoordSpace> coordSpace() const override;
    // Null if the region has none yet.
    MoxConstSmartPtr<QelXyCoordSpace> xyCoordSpace() const;

    // The box keeps its place in the image: it is mapped by the ratio of the extents, and is then
    // in the new space's unit. In a space like the old one it has the same pixels as before. Raises
    // nullPointer (4) "null coordinate space pointer passed to function", wrongClass (2) "coord
    // space passed to QelXyRegion::setCoordSpace must be an QelXyCoordSpace", and cannotConvertUnit
    // (306) between spaces in width relative and height relative units. Does nothing between spaces
    // in the same relative unit.
    void setCoordSpace(QelCoordSpace const * space) override;

    // The run-time class, the key of the registry.
    virtual std::string className() const;
    // The box in a plane in which the space's extents are `width` by `height`: its top left, top
    // right, bottom right and bottom left corner.
    virtual MoxSmartPtr<QelPolygon> polygon(double width, double height) const;
    // The box in pixels, cut to whole numbers. Raises invalidValue (13) "pixel position " or "pixel
    // count ", the number and " is not from -2147483648 to 2147483647" for a number that does not
    // fit.
    virtual QelRect pixelBounds() const;
    virtual MoxConstSmartPtr<QelXyBox> boundingBox(int unit) const;
    virtual void setPixelBounds(QelRect const & bounds);
    // The text form: write() writes all of it, the name of the class first; read() skips everything
    // before the next "[". Numbers have the stream's own format, so an exact box needs a precision
    // of 17 digits. A region with a space cannot be read back: the reader of spaces refuses their
    // writer's text, see QelXyCoordSpace.
    virtual void read(std::istream & in) = 0;
    virtual void write(std::ostream & out) const = 0;
    // Whether class, box and space are the same.
    virtual bool equal(QelRegion const & other) const = 0;

    // As set, after clipping.
    MoxConstSmartPtr<QelXyBox> box() const;
    void setBox(QelXyBox const & box);

    // The ranges of the box, and their parts, in any unit. Pixels convert to the range from the
    // near edge of the first to the far edge of the last, and a range converts to the pixels whose
    // centres it contains, so pixels converted to another unit and back are the same pixels.
    QelValueRange xRange(int unit) const;
    QelValueRange yRange(int unit) const;
    QelValue xMin(int unit) const { return xRange(unit).min(); }
    QelValue yMin(int unit) const { return yRange(unit).min(); }
    QelValue width(int unit) const { return xRange(unit).width(); }
    QelValue height(int unit) const { return yRange(unit).width(); }

    // As the space's operations of the same name; the box is then clipped again. setResolution()
    // adds a resolution.
    void setResolution(std::uint32_t widthPixels, std::uint32_t heightPixels);
    void selectResolution(std::uint32_t widthPixels, std::uint32_t heightPixels);
    void scaleX(double factor, bool keepDpu);
    void scaleY(double factor, bool keepDpu);
    void scaleXY(double factor, bool keepDpu);
    void scaleWidth(double factor, bool keepDpu);
    void scaleHeight(double factor, bool keepDpu);
    void scaleWidthHeight(double factor, bool keepDpu);
    // scalePixels(2, 2, true) is the ratio 2/2, scalePixels(2.0, 2.0, true) doubles the samples.
    void scalePixels(double x, double y, bool keepSelection);
    void scalePixels(int denominator, int numerator, bool keepSelection);

  protected:
    // Empty, without a space: to be read from text.
    QelXyRegion();

    // All raise nullPointer (4) "Cannot construct QelXyRegion with NULL coord space pointer". The
    // space is copied. The first one covers all of it.
    explicit QelXyRegion(QelXyCoordSpace const * space);
    QelXyRegion(QelXyCoordSpace const * space, QelXyBox const & box);
    // From corner to corner, in the units of the first one.
    QelXyRegion(QelXyCoordSpace const * space, QelXyPoint const & topLeft,
                QelXyPoint const & bottomRight);
    QelXyRegion(QelXyCoordSpace const * space, QelValue const & x, QelValue const & y,
                QelValue const & width, QelValue const & height);
    // In pixels; numbers with a fraction do not compile.
    QelXyRegion(QelXyCoordSpace const * space, int x, int y, int width, int height);
    template <class X, class Y, class Width, QelFloatingAmong<X, Y, Width> Height>
    QelXyRegion(QelXyCoordSpace const * space, X x, Y y, Width width, Height height) = delete;
    QelXyRegion(QelXyCoordSpace const * space, QelValueRange const & x, QelValueRange const & y);

    // For read(): any space, null too, and a box, which is clipped if there is a space.
    void reset(MoxSmartPtr<QelXyCoordSpace> space, QelXyBox const & box);
    // Whether space and box are the same; for equal().
    bool sameArea(QelXyRegion const & other) const;

  private:
    class Body;
    class Clipper;

    // The range of one axis in other units than the box's. Readers add to the list, each unit once,
    // and nothing is removed while any thread may read.
    class Conversions {
      public:
        Conversions() = default;
        Conversions(Conversions const &) = delete;
        Conversions & operator=(Conversions const &) = delete;
        ~Conversions() { clear(); }

        // The range in `unit`: what convert() returned the first time.
        template <class Convert>
        QelValueRange const & get(int unit, Convert const & convert);
        void clear() noexcept;

      private:
        struct Entry;

        static Entry const * find(Entry const * first, int unit) noexcept;

        std::atomic<Entry *> first_{nullptr};
    };

    QelXyCoordSpace const & space() const;
    void adopt(MoxSmartPtr<Body> body);
    template <class Change>
    void changeSpace(Change const & change);

    MoxSmartPtr<Body> body_;
    mutable Conversions xConversions_;
    mutable Conversions yConversions_;
};

// The text form: the class name and what read() and write() take; "NULL" for null. Reading raises
// invalidValue (13) for a class that is not registered, and what read() raises; the pointer is then
// unchanged. The class may be in a namespace.
QEL_API std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelXyRegion> const & region);
QEL_API std::istream & operator>>(std::istream & in, MoxSmartPtr<QelXyRegion> & region);
