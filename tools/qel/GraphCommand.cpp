#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "CommandLine.h"
#include "Commands.h"
#include "GraphDrawing.h"
#include "Picture.h"
#include "Pipeline.h"

namespace {

struct Arguments {
    std::string in;
    std::vector<std::string> ops;
    bool dot = false;
};

void graph(Arguments const & arguments) {
    std::vector<QelTransformCatalog::Call> const calls = parseOps(arguments.ops);
    Pipeline const pipeline(newSource(arguments.in, {}), calls);
    GraphDrawing const drawing(*pipeline.last());
    if (arguments.dot) {
        drawing.printDot(std::cout);
    } else {
        drawing.printText(std::cout);
    }
}

}  // namespace

void addGraphCommand(CommandLine & tool) {
    Command command = tool.add("graph",
                               "Print the graph of transforms that convert would run: classes, "
                               "attributes, connections, and what is wrong");
    auto const arguments = std::make_shared<Arguments>();
    command.required("IN", arguments->in, "JPEG or PNG file, @testcard or @testcard:WxH");
    command.rest("OP", arguments->ops,
                 "operations in order, as OP[:NAME=VALUE[,NAME=VALUE]...]; \"qel ops\" "
                 "lists them");
    command.flag("--dot", arguments->dot,
                 "for Graphviz, as in \"qel graph photo.jpg blur --dot | dot -Tpng > graph.png\"");
    command.runs([arguments] { graph(*arguments); });
}
