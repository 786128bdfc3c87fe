#pragma once

#include <stdexcept>
#include <string>

class ZanError;

namespace CLI {
class App;
}

// A command line that cannot be understood.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The text of an error without its first line, which says no more than the code.
std::string textOf(ZanError const & error);

// The commands of the tool, each in a file of its own. Each adds itself to the parser, which runs
// the one that the user chose.
void addColoursCommand(CLI::App & tool);
void addConvertCommand(CLI::App & tool);
void addInfoCommand(CLI::App & tool);
void addOpsCommand(CLI::App & tool);
void addSpaceCommand(CLI::App & tool);
