#include <iomanip>
#include <iostream>
#include <memory>

#include "CommandLine.h"
#include "Commands.h"
#include "Listing.h"
#include "QelClients.h"

namespace {

// A block for each operation, since a table has no room for parameters.
void printOps() {
    std::cout << std::setprecision(15);
    for (QelTransformDescription const & op : QelTransformCatalog::standard().ops()) {
        std::cout << op.name << "\n    " << op.summary << '\n';
        for (QelTransformParameter const & parameter : op.parameters) {
            std::cout << "    " << parameter.name << ": " << parameter.typeName() << " from "
                      << parameter.min << " to " << parameter.max;
            if (parameter.defaultValue) std::cout << ", default " << *parameter.defaultValue;
            std::cout << "; " << parameter.summary << '\n';
        }
    }
}

Value::Record recordOf(QelTransformParameter const & parameter) {
    return {{"name", parameter.name},
            {"type", parameter.typeName()},
            {"range", Value::Record{{"min", parameter.min}, {"max", parameter.max}}},
            {"default", parameter.defaultValue ? Value(*parameter.defaultValue) : Value()},
            {"summary", parameter.summary}};
}

void printOpsAsJson() {
    Listing listing({{"name", "name"}, {"summary", "summary"}, {"parameters", "parameters"}});
    for (QelTransformDescription const & op : QelTransformCatalog::standard().ops()) {
        Value::List parameters;
        for (QelTransformParameter const & parameter : op.parameters)
            parameters.emplace_back(recordOf(parameter));
        listing.add({op.name, op.summary, parameters});
    }
    listing.printJson(std::cout);
}

}  // namespace

void addOpsCommand(CommandLine & tool) {
    Command command = tool.add("ops", "List the operations with their parameters");
    auto const asJson = std::make_shared<bool>(false);
    command.flag("--json", *asJson, "list them as JSON");
    command.runs([asJson] { *asJson ? printOpsAsJson() : printOps(); });
}
