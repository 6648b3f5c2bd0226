// Asking for the administrator's right, and the pipe of a tool that runs with it.
#include "Platform/Security/Authorization.h"
#include "Platform/Support/ErrorNumbers.h"
#include "tests/support/FakeHome.h"
#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr AuthorizationFlags kWantedFlags = 0x13;
const AuthorizationItem kRight {"system.privilege.admin", 0, nullptr, 0};
const AuthorizationItemSet kRights {1, &kRight};

class Rights : public testing::Test {
protected:
    Rights() { EXPECT_EQ(AuthorizationCreate(nullptr, nullptr, 0, &m_authorization), noErr); }
    ~Rights() override { EXPECT_EQ(AuthorizationFree(m_authorization, 0), noErr); }

    const ScopedEnvironment m_direct {"VELMORA_AUTHORIZE", "user"};
    AuthorizationRef m_authorization = nullptr;
};

using RightsDeathTest = Rights;

} // namespace

TEST_F(Rights, AreThereWhereNothingIsAsked)
{
    EXPECT_EQ(AuthorizationCopyRights(m_authorization, &kRights, nullptr, kWantedFlags, nullptr), noErr);
    EXPECT_EQ(kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights
            | kAuthorizationFlagPreAuthorize,
        0x13);
}

TEST_F(RightsDeathTest, RefusesWhatIsNotSupported)
{
    const AuthorizationItem other {"system.preferences", 0, nullptr, 0};
    const AuthorizationItemSet others {1, &other};
    AuthorizationItemSet* found = nullptr;
    EXPECT_DEATH(
        (void)AuthorizationCopyRights(m_authorization, &others, nullptr, kWantedFlags, nullptr), "failed");
    EXPECT_DEATH((void)AuthorizationCopyRights(m_authorization, &kRights, nullptr, 3, nullptr), "failed");
    EXPECT_DEATH(
        (void)AuthorizationCopyRights(m_authorization, &kRights, &kRights, kWantedFlags, nullptr), "failed");
    EXPECT_DEATH(
        (void)AuthorizationCopyRights(m_authorization, &kRights, nullptr, kWantedFlags, &found), "failed");
}

TEST_F(Rights, GiveAPipeThatHoldsWhatTheToolPrints)
{
    const ScopedTempDir folder;
    const fs::path tool = folder.write("tool", "#!/bin/sh\nprintf '<%s>' \"$@\"\n");
    fs::permissions(tool, fs::perms(0755));
    char first[] = "a b";
    char second[] = "c";
    char* const arguments[] = {first, second, nullptr};
    std::FILE* pipe = nullptr;
    ASSERT_EQ(AuthorizationExecuteWithPrivileges(m_authorization, tool.c_str(), 0, arguments, &pipe), noErr);
    ASSERT_NE(pipe, nullptr);
    char bytes[32] = {};
    EXPECT_EQ(std::fread(bytes, 1, sizeof(bytes), pipe), 8u);
    EXPECT_STREQ(bytes, "<a b><c>");
    EXPECT_EQ(std::fclose(pipe), 0);
}

TEST_F(Rights, GiveNoPipeForAToolThatCannotBeExecuted)
{
    std::FILE* pipe = nullptr;
    EXPECT_EQ(
        AuthorizationExecuteWithPrivileges(m_authorization, "/nonexistent/tool", 0, nullptr, &pipe), -60031);
    EXPECT_EQ(pipe, nullptr);
}
