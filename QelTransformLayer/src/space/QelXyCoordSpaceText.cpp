#include <iostream>

#include "QelError.h"
#include "QelTextForm.h"
#include "QelTextStream.h"
#include "QelXyCoordSpace.h"

namespace {

using Resolution = QelXyCoordSpace::Resolution;

// Must be readable in any locale: the stream sets the number of digits, but not their grouping.
void write(std::ostream & out, Resolution const & row) {
    QelTextStream text;
    text.precision(out.precision());
    text.setf(out.flags(), std::ios_base::floatfield);
    text << "QelXyCoordSpace::Resolution[" << row.horz.pixels << ',' << row.vert.pixels << ':'
         << row.horz.dpu << ',' << row.vert.dpu << '/'
         << QelValue::getUnitInfo(row.horz.unit).singularName << ']';
    out << text.str();
}

[[noreturn]] void raiseBadText(std::istream & in, char const * text) {
    in.setstate(std::ios_base::failbit);
    qelRaise(QelErrorCode::invalidValue, text);
}

constexpr char const * badSpace = "Invalid QelXyCoordSpace value";
constexpr char const * badRow = "Invalid QelXyCoordSpace::Resolution";

double readDpu(std::istream & in) {
    double dpu = 0.0;
    if (!qelReadNumber(in, dpu) || !(dpu >= 0.0)) raiseBadText(in, badRow);
    return dpu;
}

std::uint32_t readPixels(std::istream & in) {
    unsigned pixels = 0;
    if (!qelReadNumber(in, pixels)) raiseBadText(in, badRow);
    return pixels;
}

Resolution readRow(std::istream & in) {
    Resolution row;
    qelExpect(in, "QelXyCoordSpace::Resolution[", badRow);
    row.horz.pixels = readPixels(in);
    qelExpect(in, ",", badRow);
    row.vert.pixels = readPixels(in);
    qelExpect(in, ":", badRow);
    row.horz.dpu = readDpu(in);
    qelExpect(in, ",", badRow);
    row.vert.dpu = readDpu(in);
    qelExpect(in, "/", badRow);
    int unit = 0;
    if (!qelReadUnit(in, unit)) raiseBadText(in, badRow);
    row.horz.unit = row.horz.dpu == 0.0 ? 0 : unit;
    row.vert.unit = row.vert.dpu == 0.0 ? 0 : unit;
    qelExpect(in, "]", badRow);
    return row;
}

QelXyCoordSpace spaceOf(std::istream & in, QelValue const & width, QelValue const & height) {
    int const unit = width.unit();
    if (!(width.value() > 0.0) && unit != QEL_UNIT_HEIGHT_RELATIVE) {
        raiseBadText(in, "Width must be greater than 0.0");
    }
    if (!(height.value() > 0.0) && unit != QEL_UNIT_WIDTH_RELATIVE) {
        raiseBadText(in, "Height must be greater than 0.0");
    }
    return isRelativeUnit(unit) ? QelXyCoordSpace(unit) : QelXyCoordSpace(width, height);
}

}  // namespace

// Reads what follows the height into a space.
class QelXyCoordSpaceReader {
  public:
    explicit QelXyCoordSpaceReader(std::istream & in) : in_(in) {}

    QelXyCoordSpace read() {
        QelValue width;
        QelValue height;
        if (!qelSkipPast(in_, '[') || !qelSkip(in_, 2)) raiseBadText(in_, badSpace);
        in_ >> width;
        if (!qelSkip(in_, 3)) raiseBadText(in_, badSpace);
        in_ >> height;
        QelXyCoordSpace space = spaceOf(in_, width, height);
        if (!qelTake(in_, ']')) readRows(space);
        return space;
    }

  private:
    void readRows(QelXyCoordSpace & space) {
        if (!qelSkip(in_, 1)) raiseBadText(in_, badSpace);
        space.addResolution(readRow(in_));
        while (qelTake(in_, ','))
            space.addResolution(readRow(in_));
        if (!qelSkipPast(in_, '=')) raiseBadText(in_, badSpace);
        Resolution const selected = readRow(in_);
        if (!qelSkip(in_, 1)) raiseBadText(in_, badSpace);
        space.restoreSelection(selected);
    }

    std::istream & in_;
};

// A selection need not be in the list: its row may have been removed.
void QelXyCoordSpace::restoreSelection(Resolution const & selected) {
    if (isPixelBased() || (selected.horz.isArbitrary() && selected.vert.isArbitrary())) return;
    selected_ = specified(selected);
}

void QelXyCoordSpace::print(std::ostream & out) const {
    out << "QelXyCoordSpace[w=" << width() << ", h=" << height() << ", ";
    for (unsigned i = 0; i < numResolutions(); ++i) {
        if (i > 0) out << ", ";
        write(out, getResolution(i));
    }
    if (numResolutions() > 0) {
        out << ": sel=";
        write(out, selected_);
    }
    out << ']';
}

std::istream & operator>>(std::istream & in, QelXyCoordSpace & space) {
    space = QelXyCoordSpaceReader(in).read();
    return in;
}

std::ostream & operator<<(std::ostream & out, MoxSmartPtr<QelXyCoordSpace> const & space) {
    if (!space) return out << "NULL";
    space->print(out);
    return out;
}

std::istream & operator>>(std::istream & in, MoxSmartPtr<QelXyCoordSpace> & space) {
    qelSkipSpace(in);
    if (qelPeek(in) == 'N') {
        if (!qelSkip(in, 4)) raiseBadText(in, badSpace);
        space = MoxSmartPtr<QelXyCoordSpace>();
        return in;
    }
    space = new QelXyCoordSpace(QelXyCoordSpaceReader(in).read());
    return in;
}
