#pragma once

#include <cstdint>
#include <optional>
#include <utility>

#include "MoxSmartPtr.h"
#include "Qel2DImage.h"
#include "QelConvolutionKernel.h"
#include "QelImageOp.h"
#include "QelTransformDescription.h"

// What the blur and the sharpening have in common: a radius or a kernel, or neither.

// `radius` is the summary of that parameter.
QelTransformDescription qelConvolvingDescription(char const * name, char const * className,
                                                 char const * summary, char const * radius,
                                                 QelTransformDescription::Factory make);

// The parameter "kernel".
QelTransformParameter qelKernelParameter();

template <class Op>
MoxSmartPtr<QelImageOp> qelConvolvingOp(MoxSmartPtr<Qel2DImage> input,
                                        std::optional<QelConvolutionKernel> const & kernel,
                                        std::int32_t radius) {
    if (kernel) return new Op(std::move(input), *kernel);
    if (radius == 0) return new Op(std::move(input));
    return new Op(std::move(input), radius);
}
