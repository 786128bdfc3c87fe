#pragma once

#include <string>

#include "QelClients.h"

// A source of pixels as the user names it: a file, or the built-in picture "@testcard",
// "@testcard:WxH". It is not opened yet. Raises UsageError for another name that starts with "@".
MoxSmartPtr<QelSourceTransform> newSource(std::string const & name, QelReadLimits const & limits);

// A source that is open.
struct Picture {
    std::string name;
    std::string format;
    MoxSmartPtr<QelSourceTransform> source;
    MoxSmartPtr<Qel2DImage> image;
    MoxSmartPtr<QelColorSpace> colorSpace;
    // Its size on paper: at its own resolution, or at 72 dots per inch if it has none.
    MoxSmartPtr<QelXyCoordSpace> space;
    bool hasResolution = false;
};

// Raises what newSource() raises, and the source's own error when it cannot be opened.
Picture openPicture(std::string const & name, QelReadLimits const & limits);
