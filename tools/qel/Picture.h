#pragma once

#include <string>

#include "QelClients.h"

// A picture that the user named.
struct Picture {
    std::string name;
    std::string format;
    MoxSmartPtr<Qel2DImage> image;
    MoxSmartPtr<QelColorSpace> colorSpace;
    // Its size on paper: at its own resolution, or at 72 dots per inch if it has none.
    MoxSmartPtr<QelXyCoordSpace> space;
    bool hasResolution = false;
};

// Opens a file, or the built-in picture: "@testcard", "@testcard:WxH". Raises UsageError for
// another name that starts with "@", and what qelOpenPicture() raises.
Picture openPicture(std::string const & name, QelReadLimits const & limits);
