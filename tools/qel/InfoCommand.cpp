#include <iomanip>
#include <iostream>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "BandStatistics.h"
#include "CommandLine.h"
#include "Commands.h"
#include "Listing.h"
#include "Picture.h"
#include "Region.h"

namespace {

struct Arguments {
    std::string in;
    std::optional<std::string> region;
    bool stats = false;
};

void printColorSpace(QelColorSpace const & space) {
    std::cout << "\ncolour space:       " << space.name() << " (" << space.className() << "), "
              << textOfRange(space.minValue(), space.maxValue());
}

void printResolution(Picture const & picture) {
    std::cout << "resolution:         ";
    if (picture.hasResolution) {
        QelXyCoordSpace const & space = *picture.space;
        QelXyCoordSpace::Resolution const dots = space.getResolution(0);
        std::cout << dots.horz.dpu << " x " << dots.vert.dpu << " dots per "
                  << QelValue::getUnitInfo(space.unit()).singularName << ", " << space.width()
                  << " x " << space.height() << '\n';
    } else {
        std::cout << "not known\n";
    }
}

void printRegion(QelRect const & pixels) {
    std::cout << "region:             " << pixels.x << ',' << pixels.y << ',' << pixels.width << ','
              << pixels.height << '\n';
}

void print(Picture const & picture) {
    QelRect const size = picture.image->imageRect();
    MoxSmartPtr<QelDataOrg> const org = picture.image->dataOrg();
    std::int64_t const bytes = size.area() * org->numBands() * org->precision().size();
    std::cout << "picture:            " << picture.name
              << "\nformat:             " << picture.format
              << "\nsize:               " << size.width << " x " << size.height
              << " pixels\nbands:              " << org->numBands()
              << "\ntype:               " << org->precision();
    printColorSpace(*picture.colorSpace);
    std::cout << "\ntiles:              " << picture.image->tilesAcross() << " x "
              << picture.image->tilesDown() << " of " << org->tileWidth() << " x "
              << org->tileHeight() << " pixels\ndata organisation:  ";
    org->print(std::cout);
    std::cout << "\nbytes:              " << bytes << '\n';
    printResolution(picture);
}

// What the colour space calls it, or its number.
std::string nameOf(QelColorSpace const & space, int band) {
    std::string const name = space.bandName(band);
    return name.empty() ? "band " + std::to_string(band) : name;
}

// Ten digits give a mean of 16-bit elements to five decimal places.
Cell rounded(double number) {
    std::ostringstream out;
    out << std::setprecision(10) << number;
    return {number, out.str()};
}

Listing statisticsOf(Picture const & picture, QelRect const & pixels) {
    Listing listing({{"band", "band"},
                     {"minimum", "minimum"},
                     {"maximum", "maximum"},
                     {"mean", "mean"},
                     {"standard_deviation", "standard deviation"}});
    int band = 0;
    for (BandStatistics const & each : bandStatistics(*picture.image, pixels)) {
        listing.add({nameOf(*picture.colorSpace, band++), rounded(each.minimum),
                     rounded(each.maximum), rounded(each.mean), rounded(each.standardDeviation)});
    }
    return listing;
}

void info(Arguments const & arguments) {
    Region region;
    if (arguments.region) region = Region(*arguments.region, "--region");
    Picture const picture = openPicture(arguments.in, {});
    remarkOnResolution(picture, region);
    // Before any output, since the picture may turn out to be damaged, or the region to miss it.
    QelRect const pixels = region.isAll() ? picture.image->imageRect() : region.pixelsOf(picture);
    std::optional<Listing> statistics;
    if (arguments.stats) statistics = statisticsOf(picture, pixels);
    print(picture);
    if (!region.isAll()) printRegion(pixels);
    if (!statistics) return;
    std::cout << '\n';
    statistics->printTable(std::cout);
}

}  // namespace

void addInfoCommand(CommandLine & tool) {
    Command command = tool.add("info", "Describe a picture; without --stats nothing is decoded");
    auto const arguments = std::make_shared<Arguments>();
    command.required("IN", arguments->in, "JPEG or PNG file, @testcard or @testcard:WxH");
    command.option("--region", arguments->region, "X,Y,W,H",
                   "report the pixels of this part, as in \"1 inches,0.5 normalized units,...\"");
    command.flag("--stats", arguments->stats,
                 "decode the picture, or the region, and report the minimum, maximum, mean and "
                 "standard deviation of each band");
    command.runs([arguments] { info(*arguments); });
}
