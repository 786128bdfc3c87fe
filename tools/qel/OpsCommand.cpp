#include <CLI/CLI.hpp>

#include <iomanip>
#include <iostream>

#include "Commands.h"
#include "QelClients.h"

namespace {

void printOps() {
    std::cout << std::setprecision(15);
    for (QelOpDescription const & op : QelOpCatalog::standard().ops()) {
        std::cout << op.name << "\n    " << op.summary << '\n';
        for (QelOpParameter const & parameter : op.parameters) {
            std::cout << "    " << parameter.name << ": " << parameter.typeName() << " from "
                      << parameter.min << " to " << parameter.max;
            if (parameter.defaultValue) std::cout << ", default " << *parameter.defaultValue;
            std::cout << "; " << parameter.summary << '\n';
        }
    }
}

}  // namespace

void addOpsCommand(CLI::App & tool) {
    CLI::App * const command =
        tool.add_subcommand("ops", "List the operations with their parameters");
    command->callback(printOps);
}
