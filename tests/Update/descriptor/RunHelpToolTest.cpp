// RunHelpTool as a user sees it: what it prints and gives.
#include "Update/descriptor/RunHelpTool.h"
#include "tests/support/ChildProcess.h"
#include "tests/support/FakeHome.h"

#include <pwd.h>
#include <unistd.h>

#include <gtest/gtest.h>

TEST(RunHelpTool, PrintsAsWhomThePrivilegedToolRuns)
{
    // With rights of its own, or without asking for any, the tool runs as this user.
    const ScopedEnvironment direct("VELMORA_AUTHORIZE", "user");
    const struct passwd* const user = getpwuid(geteuid());
    ASSERT_NE(user, nullptr);
    testing::internal::CaptureStdout();
    EXPECT_EQ(RunHelpTool(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string(user->pw_name) + "\n");
}

TEST(RunHelpTool, PrintsItsStatusWhenTheRightIsNotToBeHad)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "needs root to become a user whom no agent asks";
    const ScopedEnvironment bus("DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/nonexistent/bus");
    const ScopedEnvironment asked("VELMORA_AUTHORIZE");
    testing::internal::CaptureStdout();
    EXPECT_EQ(child::runAsNobody([] { return RunHelpTool() == -60005 ? 0 : 1; }), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Status: -60005\n");
}
