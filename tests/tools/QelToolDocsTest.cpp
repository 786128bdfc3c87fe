// The commands that the documentation shows print what it says.

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <sstream>

#include "ToolTesting.h"

namespace {

struct Shown {
    std::string page;
    std::string command;  // without "$ "
    std::string output;
};

// Of one page: lines after "$ " within a block marked as console, and the lines up to the next one
// or the end of the block.
std::vector<Shown> commandsOf(std::filesystem::path const & path) {
    std::vector<Shown> commands;
    std::ifstream page(path);
    EXPECT_TRUE(page) << path;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = line == "```console";
        } else if (inside && line.rfind("$ ", 0) == 0) {
            commands.push_back({path.filename().string(), line.substr(2), ""});
        } else if (inside && !commands.empty()) {
            commands.back().output += line + "\n";
        }
    }
    return commands;
}

std::vector<std::string> wordsOf(std::string const & command) {
    std::vector<std::string> found;
    std::istringstream words(command);
    for (std::string word; words >> std::quoted(word);)
        found.push_back(word);
    return found;
}

// What "head" lets through.
std::string firstTenLines(std::string const & text) {
    std::size_t end = 0;
    for (int line = 0; line < 10 && end < text.size(); ++line)
        end = std::min(text.find('\n', end), text.size() - 1) + 1;
    return text.substr(0, end);
}

class QelToolDocsTest : public QelToolTest {
  protected:
    // "qel ..." or "qel ... | head"
    std::string outputOf(std::vector<std::string> words) {
        bool const head = words.size() > 2 && words.back() == "head";
        if (head) words.resize(words.size() - 2);
        words.erase(words.begin());
        Outcome const outcome = run(words);
        return (head ? firstTenLines(outcome.out) : outcome.out) + outcome.err;
    }
};

TEST_F(QelToolDocsTest, PagesShowWhatTheToolPrints) {
    std::vector<Shown> commands;
    for (auto const & entry : std::filesystem::directory_iterator(QEL_DOCS_PATH)) {
        if (entry.path().extension() != ".md") continue;
        for (Shown const & shown : commandsOf(entry.path()))
            commands.push_back(shown);
    }
    int checked = 0;
    for (Shown const & shown : commands) {
        std::vector<std::string> const words = wordsOf(shown.command);
        if (words.front() != "qel") continue;  // another program
        SCOPED_TRACE(shown.page + ": " + shown.command);
        EXPECT_EQ(shown.output, outputOf(words));
        ++checked;
    }
    EXPECT_LE(6, checked);
}

}  // namespace
