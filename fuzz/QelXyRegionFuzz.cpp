#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "Qel.h"
#include "QelSimpleDataOrg.h"

// The reader of regions: any text gives a region, null or one of our errors. All properties of a
// region that was read are queried. Written and read again it is the same, or raises the one known
// error of the written form.

namespace {

using Region = MoxSmartPtr<QelXyRegion>;

void require(bool good, char const * what, std::string const & text) {
    if (good) return;
    std::cerr << what << ": " << text << '\n';
    std::abort();
}

Region readFrom(std::string const & text) {
    std::istringstream in(text);
    Region region;
    in >> region;
    return region;
}

template <class Action>
void attempt(Action const & action) {
    try {
        action();
    } catch (ZanError const &) {
        // Not every region has pixels, or a space.
    }
}

void walk(QelXySimpleRegion const & region) {
    MoxSmartPtr<QelSimpleDataOrg> const tiling(
        new QelSimpleDataOrg(64, 64, QelDataType::UChar, 1, PIXEL_INTERLEAVED));
    QelXySimpleRegion::Iterator at(&region, *tiling);
    for (int i = 0; i < 100 && !at.isDone(); ++i, at.next())
        at.tile();
}

void use(Region const & region) {
    attempt([&] { region->pixelBounds(); });
    attempt([&] { region->polygon(1.0, 1.0); });
    for (int const unit : {QEL_UNIT_ARBITRARY, QEL_UNIT_NORMALIZED, QEL_UNIT_INCH})
        attempt([&] { region->boundingBox(unit); });
    attempt([&] { walk(dynamic_cast<QelXySimpleRegion const &>(*region)); });
    MoxSmartPtr<QelRegion> const copy = region->clone();
    require(region->equal(*copy), "a copy differs", region->className());
    MoxSmartPtr<QelXyCoordSpace> const raster(new QelXyCoordSpace(100, 100));
    attempt([&] { copy->setCoordSpace(raster); });
}

void readAgain(Region const & region) {
    std::ostringstream text;
    text.precision(17);
    text << region;
    try {
        Region const again = readFrom(text.str());
        require(!region->coordSpace() && again->equal(*region), "not read as it was", text.str());
    } catch (ZanError const & error) {
        require(std::string("QEL error 13\nBad unit for QelValue") == error.getMsg(),
                "another error", text.str() + '\n' + error.getMsg());
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    Region region;
    attempt([&] { region = readFrom(std::string(reinterpret_cast<char const *>(data), size)); });
    if (!region) return 0;
    use(region);
    readAgain(region);
    return 0;
}
