// Payloads of the setup port, well laid out and hostile.
#include "TandemService/SetupRequest.h"

#include <gtest/gtest.h>

namespace {

constexpr SInt32 kInstall = 0x55504B47;
constexpr SInt32 kRelaunch = 0x5551524C;
constexpr SInt32 kEnd = 0x55456E64;

/// A payload with the zero bytes that it is written with; the literal's own one is not part of it.
template <std::size_t N> std::string bytes(const char (&text)[N])
{
    return std::string(text, N - 1);
}

bool isUnknown(SInt32 id, const std::string& payload)
{
    return std::holds_alternative<UnknownRequest>(parseSetupRequest(id, payload));
}

} // namespace

TEST(SetupRequests, InstallHoldsPackageAndTarget)
{
    const SetupRequest request = parseSetupRequest(kInstall, bytes("/a/X.pkg\0/b c\0"));
    const auto* const install = std::get_if<InstallPackageRequest>(&request);
    ASSERT_NE(install, nullptr);
    EXPECT_EQ(install->package, "/a/X.pkg");
    EXPECT_EQ(install->target, "/b c");
}

TEST(SetupRequests, RelaunchHoldsAPath)
{
    const SetupRequest request = parseSetupRequest(kRelaunch, bytes("/x.app\0"));
    ASSERT_TRUE(std::holds_alternative<RelaunchRequest>(request));
    EXPECT_EQ(std::get<RelaunchRequest>(request).bundle, "/x.app");
}

TEST(SetupRequests, EndHoldsAText)
{
    const SetupRequest request = parseSetupRequest(kEnd, bytes("QUIT\0"));
    ASSERT_TRUE(std::holds_alternative<UpdateEndRequest>(request));
    EXPECT_EQ(std::get<UpdateEndRequest>(request).text, "QUIT");
}

TEST(SetupRequests, InstallWithoutPackageIsRefused)
{
    EXPECT_TRUE(isUnknown(kInstall, bytes("/only/the/target\0")));
    EXPECT_TRUE(isUnknown(kInstall, bytes("\0/b\0")));
    EXPECT_TRUE(isUnknown(kInstall, bytes("/a\0\0")));
}

TEST(SetupRequests, TextsMustEndWithinThePayloadAndNothingFollows)
{
    EXPECT_TRUE(isUnknown(kInstall, bytes("/a\0/b")));
    EXPECT_TRUE(isUnknown(kInstall, bytes("/a")));
    EXPECT_TRUE(isUnknown(kInstall, bytes("/a\0/b\0x")));
    EXPECT_TRUE(isUnknown(kInstall, bytes("/a\0/b\0/c\0")));
    EXPECT_TRUE(isUnknown(kRelaunch, bytes("/x.app")));
    EXPECT_TRUE(isUnknown(kRelaunch, bytes("/x.app\0/y\0")));
    EXPECT_TRUE(isUnknown(kEnd, bytes("QUIT")));
    EXPECT_TRUE(isUnknown(kEnd, bytes("QUIT\0\0")));
}

TEST(SetupRequests, EmptyPayloadIsRefused)
{
    for (const SInt32 id : {kInstall, kRelaunch, kEnd}) {
        EXPECT_TRUE(isUnknown(id, ""));
        EXPECT_TRUE(isUnknown(id, bytes("\0")));
    }
}

TEST(SetupRequests, OtherIdsAreRefused)
{
    for (const SInt32 id : {0, -1, 0x55504B48, 0x474B5055})
        EXPECT_TRUE(isUnknown(id, bytes("/a\0/b\0")));
}

TEST(SetupRequests, PayloadHasABound)
{
    const std::string text(2047, 'p');
    EXPECT_FALSE(isUnknown(kEnd, text + std::string(1, '\0')));
    EXPECT_TRUE(isUnknown(kEnd, text + "p" + std::string(1, '\0')));
    EXPECT_TRUE(isUnknown(kInstall, std::string(65536, '\0')));
}
