#pragma once

// Every public header of the library: the platform, base and transform layers.

#include "QelBase.h"
#include "QelBox.h"
#include "QelBufferInfo.h"
#include "QelColorSpace.h"
#include "QelCoordSpace.h"
#include "QelDataDesc.h"
#include "QelDimension.h"
#include "QelPoint.h"
#include "QelResolution.h"
#include "QelSimpleResolutionDesc.h"
#include "QelUnitInfo.h"
#include "QelValue.h"
#include "QelValueRange.h"
#include "QelValueVector.h"
#include "QelXyBox.h"
#include "QelXyCoordSpace.h"
#include "QelXyDimension.h"
#include "QelXyPoint.h"
#include "QelXyVector.h"
