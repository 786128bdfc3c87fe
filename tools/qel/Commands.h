#pragma once

#include <stdexcept>
#include <string>

class CommandLine;
class ZanError;
// An invalid command line.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// The text of an error without its first line, which only repeats the code.
std::string textOf(ZanError const & error);

// The commands of the tool, each in its own file. Each adds itself to the command line,
// which runs the one that the user chose.
void addColoursCommand(CommandLine & tool);
void addConvertCommand(CommandLine & tool);
void addGraphCommand(CommandLine & tool);
void addInfoCommand(CommandLine & tool);
void addOpsCommand(CommandLine & tool);
void addSpaceCommand(CommandLine & tool);
