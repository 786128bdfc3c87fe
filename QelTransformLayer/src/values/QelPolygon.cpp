#include "QelPolygon.h"

#include <ostream>
#include <utility>

#include "QelTextStream.h"

QelPolygon::QelPolygon() = default;

QelPolygon::QelPolygon(std::vector<Point> points) : points_(std::move(points)) {}

QelPolygon::QelPolygon(QelPolygon const & other) : ZanRefCount(), points_(other.points_) {}

QelPolygon & QelPolygon::operator=(QelPolygon const & other) {
    points_ = other.points_;
    return *this;
}

QelPolygon::~QelPolygon() = default;

std::ostream & operator<<(std::ostream & out, QelPolygon const & polygon) {
    QelTextStream text;
    text.flags(out.flags());
    text.precision(out.precision());
    text << "QelPolygon[";
    for (QelPolygon::Point const & point : polygon.points())
        text << '(' << point.x << ',' << point.y << ')';
    text << ']';
    return out << text.str();
}

std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelPolygon> const & polygon) {
    return polygon ? out << *polygon : out << "NULL";
}

std::ostream & operator<<(std::ostream & out, QelPolygon::List const & polygons) {
    out << "QelPolygonList{";
    for (MoxSmartPtr<QelPolygon> const & polygon : polygons)
        out << polygon;
    return out << '}';
}
