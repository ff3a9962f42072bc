// The tool ends the process through ExitApp (exit status 0) at end of input.
// A unit test that gets there would stop the test binary with status 0, and
// a runner that starts one test per process would count it as passed; an
// exit while a test runs (outside a death test's child) fails instead.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

namespace {

bool gTestRunning = false;

struct ExitGuard : ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { gTestRunning = true; }
    void OnTestEnd(const ::testing::TestInfo&) override { gTestRunning = false; }
};

const bool kInstalled = [] {
    ::testing::UnitTest::GetInstance()->listeners().Append(new ExitGuard);
    atexit([] {
        if (gTestRunning && !::testing::internal::InDeathTestChild()) {
            static const char msg[] = "unit test ended the process before it finished\n";
            (void)!write(2, msg, sizeof msg - 1);
            _exit(1);
        }
    });
    return true;
}();

}  // namespace
