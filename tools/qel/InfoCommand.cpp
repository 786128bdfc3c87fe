#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>
#include <string>

#include "Commands.h"
#include "Picture.h"

namespace {

void info(std::string const & name) {
    Picture const picture = openPicture(name, {});
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
}

}  // namespace

void addInfoCommand(CLI::App & tool) {
    CLI::App * const command =
        tool.add_subcommand("info", "Tell what a picture holds, without decoding it");
    auto const name = std::make_shared<std::string>();
    command->add_option("IN", *name, "JPEG or PNG file, @testcard or @testcard:WxH")->required();
    command->callback([name] { info(*name); });
}
