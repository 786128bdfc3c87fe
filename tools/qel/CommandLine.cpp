#include "CommandLine.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <utility>

#include "Commands.h"

void Command::required(std::string const & name, std::string & text, std::string const & help) {
    parser_.add_option(name, text, help)->required();
}

void Command::rest(std::string const & name, std::vector<std::string> & texts,
                   std::string const & help) {
    parser_.add_option(name, texts, help);
}

void Command::flag(std::string const & name, bool & isSet, std::string const & help) {
    parser_.add_flag(name, isSet, help);
}

void Command::option(std::string const & name, std::optional<std::string> & text,
                     std::string const & form, std::string const & help) {
    parser_.add_option(name, text, help)->type_name(form);
}

void Command::option(std::string const & name, std::int64_t & number, std::string const & form,
                     std::string const & help) {
    parser_.add_option(name, number, help)
        ->type_name(form)
        ->check(CLI::PositiveNumber)
        ->capture_default_str();
}

void Command::option(std::string const & name, std::vector<std::string> & texts, int count,
                     std::string const & form, std::string const & help) {
    parser_.add_option(name, texts, help)->expected(count)->type_name(form);
}

void Command::option(std::string const & name, std::vector<double> & numbers,
                     std::string const & form, std::string const & help) {
    parser_.add_option(name, numbers, help)
        ->expected(1, 2)
        ->check(CLI::PositiveNumber)
        ->type_name(form);
}

void Command::runs(std::function<void()> action) {
    parser_.callback(std::move(action));
}

CommandLine::CommandLine(std::string const & name, std::string const & version,
                         std::string const & help)
    : parser_(std::make_unique<CLI::App>(help, name)) {
    parser_->require_subcommand(1);
    parser_->set_version_flag("--version", name + ' ' + version, "Print the version and exit");
}

CommandLine::~CommandLine() = default;

Command CommandLine::add(std::string const & name, std::string const & help) {
    return Command(*parser_->add_subcommand(name, help));
}

void CommandLine::run(int argc, char ** argv) {
    try {
        parser_->parse(argc, argv);
    } catch (CLI::ParseError const & error) {
        if (error.get_exit_code() != 0) throw UsageError(error.what());
        parser_->exit(error);  // prints the help or the version
    }
}

std::optional<std::uint64_t> bytesIn(std::string text) {
    try {
        CLI::AsSizeValue(true)(text);
    } catch (CLI::ValidationError const &) {
        return std::nullopt;
    }
    std::uint64_t bytes = 0;
    std::from_chars(text.data(), text.data() + text.size(), bytes);
    return bytes;
}
