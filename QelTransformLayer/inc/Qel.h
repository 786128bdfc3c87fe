#pragma once

// Every public header of the library: the platform, base and transform layers.

#include "QelBase.h"
#include "QelBufferInfo.h"
#include "QelColorSpace.h"
