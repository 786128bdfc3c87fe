#include "VZanRefCount.h"

VZanRefCount::~VZanRefCount() = default;
