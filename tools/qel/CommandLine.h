#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// The command line as the commands see it. The parser behind it takes ten seconds to compile, so
// only CommandLine.cpp includes it.

namespace CLI {
class App;
}

// A command of the tool and its arguments, each with a line of help. What the user types is stored
// in the variables given here before the command runs, so they have to live until then.
class Command {
  public:
    explicit Command(CLI::App & parser) : parser_(parser) {}

    // Arguments without a name on the command line: one that must be there, and any number of them.
    void required(std::string const & name, std::string & text, std::string const & help);
    void rest(std::string const & name, std::vector<std::string> & texts, std::string const & help);

    // "--name" alone
    void flag(std::string const & name, bool & isSet, std::string const & help);
    // "--name VALUE"; `form` is what the help shows in place of the value.
    void option(std::string const & name, std::optional<std::string> & text,
                std::string const & form, std::string const & help);
    // A number above zero, with the default that it holds.
    void option(std::string const & name, std::int64_t & number, std::string const & form,
                std::string const & help);
    // `count` texts.
    void option(std::string const & name, std::vector<std::string> & texts, int count,
                std::string const & form, std::string const & help);
    // One or two numbers above zero.
    void option(std::string const & name, std::vector<double> & numbers, std::string const & form,
                std::string const & help);

    // What the command does once its arguments are known.
    void runs(std::function<void()> action);

  private:
    CLI::App & parser_;
};

class CommandLine {
  public:
    CommandLine(std::string const & name, std::string const & version, std::string const & help);
    CommandLine(CommandLine const &) = delete;
    CommandLine & operator=(CommandLine const &) = delete;
    ~CommandLine();

    Command add(std::string const & name, std::string const & help);

    // Runs the one command that the user named, or prints the help or the version. Raises
    // UsageError, and what the command raises.
    void run(int argc, char ** argv);

  private:
    std::unique_ptr<CLI::App> parser_;
};

// The bytes in a whole number with or without a unit of 1,000 ("MB") or 1,024 ("MiB"), in letters
// of either case; nothing when the unit is unknown or makes too many of them.
std::optional<std::uint64_t> bytesIn(std::string text);
