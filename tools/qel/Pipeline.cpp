#include "Pipeline.h"

#include <algorithm>
#include <sstream>

#include "Commands.h"

namespace {

QelImageOutputCP & outputOf(QelTransform const & transform) {
    return dynamic_cast<QelImageOutputCP &>(*transform.getOutputCP(0));
}

}  // namespace

std::vector<QelTransformCatalog::Call> parseOps(std::vector<std::string> const & texts) {
    std::vector<QelTransformCatalog::Call> calls;
    try {
        for (std::string const & text : texts)
            calls.push_back(QelTransformCatalog::standard().parse(text));
    } catch (ZanError const & error) {
        throw UsageError(textOf(error));
    }
    return calls;
}

Pipeline::Pipeline(MoxSmartPtr<QelSourceTransform> source,
                   std::vector<QelTransformCatalog::Call> const & calls) {
    source->setLabel(source->description().name);
    transforms_.push_back(source);
    for (std::size_t i = 0; i < calls.size(); ++i) {
        auto const before =
            std::count_if(calls.begin(), calls.begin() + static_cast<long>(i),
                          [&](auto const & call) { return call.op == calls[i].op; });
        MoxSmartPtr<QelTransform> const transform = calls[i].make();
        std::ostringstream label;
        label << calls[i].op->name;
        if (before > 0) label << '-' << before + 1;
        transform->setLabel(label.str());
        append(transform);
    }
}

void Pipeline::append(MoxSmartPtr<QelTransform> transform) {
    transform->connect(0, transforms_.back().get(), 0);
    transforms_.push_back(std::move(transform));
}

std::vector<MoxSmartPtr<Qel2DImage>> Pipeline::images() const {
    if (!last()->isStatusOk()) throw ZanError(last()->getStatusMessage());
    MoxSmartPtr<QelXySimpleRegion> const all = outputOf(*last()).getMaxResRegion();
    // The last one first, since each asks for those before it.
    std::vector<MoxSmartPtr<Qel2DImage>> images;
    for (auto i = transforms_.rbegin(); i != transforms_.rend(); ++i)
        images.push_back(outputOf(**i).get2DImage(all.get()));
    std::reverse(images.begin(), images.end());
    return images;
}
