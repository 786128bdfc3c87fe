#include "ZanPlatform.h"

bool ZanPlatform::isWindowsNT() {
    return false;
}
