#pragma once

#include "MoxSmartPtr.h"
#include "QelError.h"
#include "QelImageInfo.h"
#include "QelOp.h"
#include "QelRectBuffer.h"

// An unallocated buffer at (0,0) for the whole of a reported image, in the report's organisation,
// enlarged where the image is larger than a tile. Raises invalidValue (13) for a negative size,
// unsupported (9) for an organisation that cannot be enlarged, and what the organisation raises.
MoxSmartPtr<QelRectBuffer> qelMakeResultBuffer(QelImageInfo const & report);

// The status renderFailed (203) of an op that reports that it is bad and gives no reason: a bug in
// the op.
QelError qelNoReasonStatus(QelOp const & op);
