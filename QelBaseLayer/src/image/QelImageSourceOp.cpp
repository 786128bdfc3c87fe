#include "QelImageSourceOp.h"

#include <algorithm>
#include <utility>

QelImageSourceOp::QelImageSourceOp() = default;

QelImageSourceOp::~QelImageSourceOp() = default;

int QelImageSourceOp::resolutionCount() const {
    return static_cast<int>(resolutions_.size());
}

int QelImageSourceOp::findResolution(std::int32_t w, std::int32_t h) const {
    auto const found = std::find(resolutions_.begin(), resolutions_.end(), std::make_pair(w, h));
    return found == resolutions_.end() ? -1 : static_cast<int>(found - resolutions_.begin());
}

bool QelImageSourceOp::getResolution(int i, std::int32_t & w, std::int32_t & h) const {
    bool const listed = i >= 0 && i < static_cast<int>(resolutions_.size());
    auto const size = listed ? resolutions_[static_cast<std::size_t>(i)]
                             : std::pair<std::int32_t, std::int32_t>();
    w = size.first;
    h = size.second;
    return listed;
}

bool QelImageSourceOp::selectResolution(std::int32_t w, std::int32_t h) {
    int const index = findResolution(w, h);
    if (index < 0) return false;
    if (index != selected_) discardReport();
    selected_ = index;
    return true;
}

void QelImageSourceOp::selectedResolution(std::int32_t & w, std::int32_t & h) const {
    getResolution(selected_, w, h);
}

void QelImageSourceOp::setResolutions(
    std::vector<std::pair<std::int32_t, std::int32_t>> resolutions, int selected) {
    resolutions_ = std::move(resolutions);
    selected_ = selected;
    discardReport();
}
