#include "tests/outside/rig.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

namespace {
const simcard_platform *g_table = nullptr;
}

extern "C" const simcard_platform *simcard_platform_override(void) { return g_table; }

namespace simcard::rig {

void isolated(const std::function<void(Rig &)> &scenario) {
    std::fflush(stdout);
    const pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
        int failed = 1;
        {
            Rig rig;
            g_table = rig.platform.table();
            scenario(rig);
            failed = ::testing::Test::HasFailure() ? 1 : 0;
            g_table = nullptr;
        }
        std::fflush(stdout);
        _exit(failed);
    }
    int status = 0;
    ASSERT_EQ(pid, waitpid(pid, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << "scenario crashed";
    EXPECT_EQ(0, WEXITSTATUS(status)) << "scenario failed";
}

std::string stdout_of(const std::function<void()> &body) {
    std::fflush(stdout);
    ::testing::internal::CaptureStdout();
    body();
    std::fflush(stdout);
    return ::testing::internal::GetCapturedStdout();
}

}  // namespace simcard::rig
