#pragma once

#include <iosfwd>
#include <vector>

#include "MoxSmartPtr.h"
#include "QelExport.h"
#include "ZanRefCount.h"

// A list of vertices in a plane, x to the right and y downwards: the form in which regions pass
// through geometric operations. Held by MoxSmartPtr.
class QEL_API QelPolygon : public ZanRefCount {
  public:
    struct Point {
        double x = 0.0;
        double y = 0.0;

        friend bool operator==(Point const &, Point const &) = default;
    };
    using List = std::vector<MoxSmartPtr<QelPolygon>>;

    QelPolygon();
    explicit QelPolygon(std::vector<Point> points);
    QelPolygon(QelPolygon const & other);
    QelPolygon & operator=(QelPolygon const & other);
    virtual ~QelPolygon();

    std::vector<Point> const & points() const { return points_; }
    void add(Point const & point) { points_.push_back(point); }

    // As many points, each exactly equal.
    friend bool operator==(QelPolygon const & a, QelPolygon const & b) {
        return a.points_ == b.points_;
    }

  private:
    std::vector<Point> points_;
};

// "QelPolygon[", the points as "(x,y)", and "]". The numbers have the stream's precision, but no
// grouped digits.
QEL_API std::ostream & operator<<(std::ostream & out, QelPolygon const & polygon);
// "NULL" for null.
QEL_API std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelPolygon> const & polygon);
// "QelPolygonList{", each polygon, and "}".
QEL_API std::ostream & operator<<(std::ostream & out, QelPolygon::List const & polygons);
