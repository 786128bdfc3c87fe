#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <string>

#include "Commands.h"
#include "Picture.h"
#include "Region.h"

namespace {

struct Arguments {
    std::string in;
    std::string region;
};

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

void printRegion(Picture const & picture, Region const & region) {
    if (region.isAll()) return;
    QelRect const pixels = region.pixelsOf(picture);
    std::cout << "region:             " << pixels.x << ',' << pixels.y << ',' << pixels.width << ','
              << pixels.height << '\n';
}

void info(Arguments const & arguments) {
    Region region;
    if (!arguments.region.empty()) region = Region(arguments.region, "--region");
    Picture const picture = openPicture(arguments.in, {});
    remarkOnResolution(picture, region);
    QelRect const & size = picture.image->imageRect();
    MoxSmartPtr<QelDataOrg> const org = picture.image->dataOrg();
    std::int64_t const bytes = size.area() * org->numBands() * org->precision().size();
    std::cout << "picture:            " << picture.name
              << "\nformat:             " << picture.format
              << "\nsize:               " << size.width << " x " << size.height
              << " pixels\nbands:              " << org->numBands()
              << "\ntype:               " << org->precision()
              << "\ntiles:              " << picture.image->tilesAcross() << " x "
              << picture.image->tilesDown() << " of " << org->tileWidth() << " x "
              << org->tileHeight() << " pixels\ndata organisation:  ";
    org->print(std::cout);
    std::cout << "\nbytes:              " << bytes << '\n';
    printResolution(picture);
    printRegion(picture, region);
}

}  // namespace

void addInfoCommand(CLI::App & tool) {
    CLI::App * const command =
        tool.add_subcommand("info", "Tell what a picture holds, without decoding it");
    auto const arguments = std::make_shared<Arguments>();
    command->add_option("IN", arguments->in, "JPEG or PNG file, @testcard or @testcard:WxH")
        ->required();
    command
        ->add_option("--region", arguments->region,
                     "tell the pixels of this part, as in \"1 inches,0.5 normalized units,...\"")
        ->type_name("X,Y,W,H");
    command->callback([arguments] { info(*arguments); });
}
