#include "QelConvolving.h"

#include <string>
#include <utility>

#include "QelError.h"

namespace {

// In the order of the parameters.
void checkKernel(std::string const & name, QelTransformValues const & values) {
    std::vector<double> const & radius = values[0];
    std::vector<double> const & weights = values[1];
    if (weights.empty()) return;
    if (!radius.empty()) {
        qelRaise(QelErrorCode::invalidValue,
                 "The operation " + name + " takes a radius or a kernel, not both");
    }
    QelConvolutionKernel{weights};
}

}  // namespace

QelTransformParameter qelKernelParameter() {
    constexpr double most = 1e6;
    return {"kernel",
            "weights of a square around each pixel, row by row, such as 9 or 25",
            QelTransformParameter::Type::Numbers,
            std::nullopt,
            -most,
            most};
}

QelTransformDescription qelConvolvingDescription(char const * name, char const * className,
                                                 char const * summary, char const * radius,
                                                 QelTransformDescription::Factory make) {
    std::string const known = name;
    return {name,
            className,
            summary,
            false,
            {{"radius", radius, QelTransformParameter::Type::Integer, std::nullopt, 1,
              QelConvolutionKernel::maxReach},
             qelKernelParameter()},
            std::move(make),
            [known](QelTransformValues const & values) { checkKernel(known, values); }};
}
