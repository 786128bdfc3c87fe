#pragma once

#include <string>
#include <vector>

#include "Picture.h"
#include "QelClients.h"

// A part of a picture as a user names it: "X,Y,W,H", each a whole number of pixels or a value with
// a unit, as in "1 inches,20 millimeters,0.5 normalized units,300".
class Region {
  public:
    // The whole picture.
    Region() = default;
    // Raises UsageError for a malformed text.
    Region(std::string const & text, std::string const & what);

    bool isAll() const { return values_.empty(); }
    // Is the picture's resolution needed to find its pixels?
    bool isPhysical() const;
    // The pixels whose centres it contains, clipped to the picture. Whole numbers of pixels are
    // taken literally. Raises invalidValue (13) if there are none, cannotConvertUnit (306) for a
    // value that is not a length.
    QelRect pixelsOf(Picture const & picture) const;

  private:
    bool isInPixels() const;

    std::string text_;
    std::vector<QelValue> values_;
};

// Says on standard error that 72 dots per inch are assumed, if the region needs a resolution and
// the picture has none.
void remarkOnResolution(Picture const & picture, Region const & region);
