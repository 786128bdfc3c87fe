#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <fcntl.h>

#include <string>
#include <vector>

#include "../QelClientLayer/ClientTesting.h"

struct Outcome {
    int code = -1;
    std::string out;
    std::string err;
};

// The command line tool, run as a user runs it.
class QelToolTest : public testing::Test {
  protected:
    std::string file(std::string const & name) const { return folder_.file(name); }

    // Starts the tool with its output in two files.
    pid_t start(std::vector<std::string> arguments, std::string const & out) {
        arguments.insert(arguments.begin(), QEL_TOOL_PATH);
        std::vector<char *> pointers;
        for (std::string & each : arguments)
            pointers.push_back(each.data());
        pointers.push_back(nullptr);
        std::string const err = scratch_.file("err");
        pid_t const child = ::fork();
        if (child != 0) return child;
        constexpr int flags = O_WRONLY | O_CREAT | O_TRUNC;
        ::dup2(::open(out.c_str(), flags, 0600), STDOUT_FILENO);
        ::dup2(::open(err.c_str(), flags, 0600), STDERR_FILENO);
        ::execv(QEL_TOOL_PATH, pointers.data());
        ::_exit(127);
    }
    Outcome finish(pid_t child) {
        Outcome outcome;
        int status = 0;
        EXPECT_EQ(child, ::waitpid(child, &status, 0));
        EXPECT_TRUE(WIFEXITED(status)) << "the tool ended with status " << status;
        if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
        outcome.out = text("out");
        outcome.err = text("err");
        return outcome;
    }
    Outcome run(std::vector<std::string> arguments) {
        return finish(start(std::move(arguments), scratch_.file("out")));
    }
    std::string text(std::string const & name) const {
        Bytes const bytes = contentOf(scratch_.file(name));
        return std::string(bytes.begin(), bytes.end());
    }

    void expectDone(std::vector<std::string> const & arguments) {
        Outcome const outcome = run(arguments);
        EXPECT_EQ(0, outcome.code) << outcome.err;
        EXPECT_EQ("", outcome.err);
    }
    void expectFailed(int code, std::string const & line,
                      std::vector<std::string> const & arguments) {
        Outcome const outcome = run(arguments);
        EXPECT_EQ(code, outcome.code);
        EXPECT_EQ("qel: " + line + "\n", outcome.err);
        EXPECT_EQ("", outcome.out);
    }

    TemporaryFolder folder_;
    TemporaryFolder scratch_;
};
