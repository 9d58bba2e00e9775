// SPDX-FileCopyrightText: 2026 The zormidi authors
// SPDX-License-Identifier: MIT

// Ends the program with the name of the test if a test takes longer than 4 minutes, or than the
// number of seconds in the environment variable ZOR_PATIENCE.
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

namespace {

std::string hanging;

void End(int) {
    if (write(STDERR_FILENO, hanging.data(), hanging.size()) < 0) _exit(2);
    _exit(1);
}

class Watchdog : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& test) override {
        hanging = std::string("HANGS: ") + test.test_suite_name() + '.' + test.name() + '\n';
        const char* patience = std::getenv("ZOR_PATIENCE");
        alarm(patience ? static_cast<unsigned>(std::atoi(patience)) : 240);
    }
    void OnTestEnd(const testing::TestInfo&) override { alarm(0); }
};

const bool watched = [] {
    std::signal(SIGALRM, End);
    testing::UnitTest::GetInstance()->listeners().Append(new Watchdog);
    return true;
}();

} // namespace
