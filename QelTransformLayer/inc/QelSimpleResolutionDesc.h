#pragma once

#include <cstdint>

#include "QelDataDesc.h"

// A resolution passed through the graph: two counts, passed on unchanged.
class QEL_API QelSimpleResolutionDesc : public QelDataDesc {
  public:
    explicit QelSimpleResolutionDesc(std::uint32_t horizontal = 0, std::uint32_t vertical = 0)
        : horizontal_(horizontal), vertical_(vertical) {}
    ~QelSimpleResolutionDesc() override;

    MoxSmartPtr<QelDataDesc> clone() const override;

    std::uint32_t horizontal() const { return horizontal_; }
    std::uint32_t vertical() const { return vertical_; }

  private:
    std::uint32_t horizontal_;
    std::uint32_t vertical_;
};
