#pragma once

#include <functional>
#include <iosfwd>
#include <utility>
#include <vector>

#include "QelDataOrg.h"

// An organisation as a client might write it: not a QelSimpleDataOrg, compatible with nothing,
// and unable to change in any way but its origin. Bands of a pixel lie side by side.
class RigidDataOrg : public QelDataOrg {
  public:
    RigidDataOrg(std::int32_t tileWidth, std::int32_t tileHeight, std::vector<QelDataType> types)
        : QelDataOrg(tileWidth, tileHeight, std::move(types)) {}
    RigidDataOrg(RigidDataOrg const & other) = default;

    // What print() does; nothing by default.
    std::function<void(std::ostream &)> onPrint;

    MoxSmartPtr<QelDataOrg> clone() const override {
        return MoxSmartPtr<QelDataOrg>(new RigidDataOrg(*this));
    }
    std::int64_t size() const override { return offset(0, tileHeight()); }
    bool isCompatible(QelDataOrg const &, bool) const override { return false; }
    std::int64_t offset(std::int32_t x, std::int32_t y, int band) const override {
        return offset(x, y) + bytesBefore(static_cast<std::size_t>(band));
    }
    std::int64_t offset(std::int32_t x, std::int32_t y) const override {
        return bytesBefore(bandTypes().size()) * (std::int64_t{y} * tileWidth() + x);
    }
    void print(std::ostream & out) const override {
        if (onPrint) onPrint(out);
    }

  private:
    std::int64_t bytesBefore(std::size_t band) const {
        std::int64_t bytes = 0;
        for (std::size_t i = 0; i < band; ++i)
            bytes += bandTypes().at(i).size();
        return bytes;
    }
};
