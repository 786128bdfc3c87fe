#pragma once

#include "QelExport.h"

// Tests of the platform that the process runs on.
class QEL_API ZanPlatform {
  public:
    ZanPlatform() = delete;

    // Always false here: the library runs on POSIX systems.
    static bool isWindowsNT();
};
