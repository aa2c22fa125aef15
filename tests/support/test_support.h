// Helpers shared by the unit tests.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace tvk_test {

// The installation tree that TARVOLKHOME points at in tests.
std::string home();

// Points TARVOLKHOME, ZIMBRELHOME and TARVOLKPLATFORM at the test tree,
// fixes LANG and TZ, and removes the locale overrides and the library's NDE_
// tuning variables, so that no test depends on the machine.
void fix_environment();

// A fresh directory below the system's temporary directory, removed with
// all its contents at the end of the scope.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    const std::string &path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// Writes text to a file, replacing it.
void write_file(const std::string &path, const std::string &text);

// Result of a command run through the shell.
struct CommandResult {
    int status = -1; // exit status, or -1 if it did not exit normally
    std::string out;
    std::string err;
};

// Runs a shell command and collects its exit status and both outputs.
CommandResult run_command(const std::string &command);

// Runs body and ends the process: status 0 if no expectation failed.
template <typename Body> [[noreturn]] void run_and_exit(Body body)
{
    body();
    std::fflush(stdout);
    std::exit(::testing::Test::HasFailure() ? 1 : 0);
}

} // namespace tvk_test

// Runs the body (a statement or a braced block) in a freshly started copy of the test binary (gtest's
// threadsafe death-test style re-executes it), so that it sees the process
// state of a program that has not touched the library yet. The check fails
// if an expectation inside fails or the body does not come to its end.
#define TVK_IN_FRESH_PROCESS(...)                                                         \
    EXPECT_EXIT(::tvk_test::run_and_exit(([&]() { __VA_ARGS__; })),                           \
                ::testing::ExitedWithCode(0), "")
