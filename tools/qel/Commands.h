#pragma once

#include <stdexcept>
#include <string>

class CommandLine;
class ZanError;
// A command line that cannot be understood.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The text of an error without its first line, which says no more than the code.
std::string textOf(ZanError const & error);

// The commands of the tool, each in a file of its own. Each adds itself to the command line,
// which runs the one that the user chose.
void addColoursCommand(CommandLine & tool);
void addConvertCommand(CommandLine & tool);
void addInfoCommand(CommandLine & tool);
void addOpsCommand(CommandLine & tool);
void addSpaceCommand(CommandLine & tool);
