#pragma once

#include "MoxSmartPtr.h"
#include "QelImageOp.h"
#include "QelRectBuffer.h"
#include "ZanError.h"

// Runs `op` once over a whole buffer, without an image or a graph. A null buffer means a new one of
// the op's size, at (0,0). `result` is the buffer, or null with the reason in `status`: the op's
// own status, or misuse (3) for a buffer that the op refuses. On success `status` keeps code
// notComputed (1): test the result. What compute() raises passes through, with `result` null.
//
// Raises nullPointer (4) for a null op, before any change.
//
// Requires: the caller's buffer is held by a MoxSmartPtr, since the result becomes one of its
// owners. For a buffer on a stack call canFill() and compute() of the op.
QEL_API void qelCompute(MoxSmartPtr<QelRectBuffer> & result, ZanError & status, QelImageOp * op,
                        QelRectBuffer * buffer = nullptr, QelOpContext opContext = 0);

// The same, returning the buffer and throwing the status as a ZanError.
QEL_API MoxSmartPtr<QelRectBuffer> qelCompute(QelImageOp * op, QelRectBuffer * buffer = nullptr,
                                              QelOpContext opContext = 0);
