#pragma once

#include <vector>

#include "QelDataOrg.h"

// An organisation of a client's own, which is no QelSimpleDataOrg: one band of bytes, each line
// shifted by one byte against the line above. It can change nothing but its origin.
class DiagonalOrg : public QelDataOrg {
  public:
    DiagonalOrg(std::int32_t width, std::int32_t height)
        : QelDataOrg(width, height, std::vector<QelDataType>(1, QelDataType::UChar)) {}
    DiagonalOrg(DiagonalOrg const & other) = default;

    MoxSmartPtr<QelDataOrg> clone() const override { return new DiagonalOrg(*this); }
    std::int64_t size() const override {
        return std::int64_t{tileWidth() + 1} * (tileHeight() - 1) + tileWidth();
    }
    bool isCompatible(QelDataOrg const & other, bool) const override {
        return dynamic_cast<DiagonalOrg const *>(&other) != nullptr &&
               other.tileWidth() == tileWidth() && other.tileHeight() == tileHeight();
    }
    std::int64_t offset(std::int32_t x, std::int32_t y, int) const override { return offset(x, y); }
    std::int64_t offset(std::int32_t x, std::int32_t y) const override {
        return x + std::int64_t{tileWidth() + 1} * y;
    }
    void print(std::ostream & out) const override { out << "DiagonalOrg"; }
    using QelDataOrg::precision;
};
