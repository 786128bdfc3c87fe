// qel, the command-line tool: pulls pictures through chains of on-demand images.
//
// Exit codes: 0 done; 1 failed; 2 the command line is invalid. A failure prints one line on
// standard error.

#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "CommandLine.h"
#include "Commands.h"
#include "QelClients.h"

namespace {

constexpr int failed = 1;
constexpr int misused = 2;

int report(int code, std::string const & text) {
    std::string line;
    for (char const c : text) {
        if (c == '\n' || c == '\r') {
            line += "; ";
        } else {
            line += c;
        }
    }
    std::cerr << "qel: " << line << std::endl;
    return code;
}

int run(CommandLine & tool, int argc, char ** argv) {
    tool.run(argc, argv);
    std::cout.flush();
    return std::cout ? 0 : report(failed, "Cannot write to standard output");
}

}  // namespace

std::string textOf(ZanError const & error) {
    std::string const text = error.getMsg();
    std::string const heading =
        std::string(error.getComponent()) + " error " + std::to_string(error.getErrcode()) + "\n";
    return text.compare(0, heading.size(), heading) == 0 ? text.substr(heading.size()) : text;
}

int main(int argc, char ** argv) {
    CommandLine tool("qel", QEL_VERSION,
                     "Demand-driven image processing: only the tiles that a result needs are "
                     "computed");
    addColoursCommand(tool);
    addConvertCommand(tool);
    addGraphCommand(tool);
    addInfoCommand(tool);
    addOpsCommand(tool);
    addSpaceCommand(tool);
    try {
        return run(tool, argc, argv);
    } catch (UsageError const & error) {
        return report(misused, error.what());
    } catch (ZanError const & error) {
        return report(failed, textOf(error));
    } catch (std::bad_alloc const &) {
        return report(failed, "Out of memory");
    } catch (std::exception const & error) {
        return report(failed, error.what());
    }
}
