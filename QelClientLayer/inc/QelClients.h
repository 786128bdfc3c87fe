#pragma once

// Every public header of the client layer and of the library.

#include "Qel.h"
#include "QelBlurOp.h"
#include "QelConvolutionKernel.h"
#include "QelConvolveOp.h"
#include "QelInvertOp.h"
#include "QelJpegReaderOp.h"
#include "QelLinearOp.h"
#include "QelNeighbourOp.h"
#include "QelOneInputOp.h"
#include "QelOpCatalog.h"
#include "QelPictureReaderOp.h"
#include "QelPictureWriter.h"
#include "QelPixelRows.h"
#include "QelPngReaderOp.h"
#include "QelPointOp.h"
#include "QelSharpenOp.h"
#include "QelTestCardOp.h"
