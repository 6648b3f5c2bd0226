// Whether a program of a given bundle is running.
#include "Update/collect/RunningProcess.h"

#include "tests/support/BundleBuilder.h"
#include "tests/support/RunningProgram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

namespace {

class RunningProcess : public testing::Test {
protected:
    RunningProcess()
    {
        const auto bundle = BundleBuilder().build(m_folder, "Foo.app");
        m_program = bundle / "Contents/Linux/Foo";
        copyWaitingProgram(m_program);
        EXPECT_TRUE(makeRefFromWidePath(bundle.u16string(), m_bundle));
    }

    ScopedTempDir m_folder;
    std::filesystem::path m_program;
    FSRef m_bundle;
};

} // namespace

TEST_F(RunningProcess, IsNoneBeforeTheProgramStarts)
{
    EXPECT_EQ(ProcessIsRunning(&m_bundle), 0);
    EXPECT_EQ(FindRunningProcess(&m_bundle).highLongOfPSN, 0u);
    EXPECT_EQ(FindRunningProcess(&m_bundle).lowLongOfPSN, 0u);
}

TEST_F(RunningProcess, IsFoundByItsBundle)
{
    const RunningProgram running(m_program);
    EXPECT_EQ(ProcessIsRunning(&m_bundle), 1);
    EXPECT_EQ(FindRunningProcess(&m_bundle).highLongOfPSN, 0u);
    EXPECT_EQ(FindRunningProcess(&m_bundle).lowLongOfPSN, static_cast<UInt32>(running.pid()));
}

TEST_F(RunningProcess, IsFoundByItsFileWhereItHasNoBundle)
{
    copyWaitingProgram(m_folder.at("plain"));
    FSRef file;
    ASSERT_TRUE(makeRefFromWidePath(m_folder.at("plain").u16string(), file));
    EXPECT_EQ(ProcessIsRunning(&file), 0);
    const RunningProgram running(m_folder.at("plain"));
    EXPECT_EQ(ProcessIsRunning(&file), 1);
    EXPECT_EQ(ProcessIsRunning(&m_bundle), 0);
}

TEST_F(RunningProcess, IsTheFirstOfSeveral)
{
    const RunningProgram first(m_program);
    RunningProgram second(m_program);
    const auto lower = static_cast<UInt32>(std::min(first.pid(), second.pid()));
    EXPECT_EQ(FindRunningProcess(&m_bundle).lowLongOfPSN, lower);
}

TEST_F(RunningProcess, IsNoneOnceItEndedCollectedOrNot)
{
    RunningProgram running(m_program);
    running.endUncollected();
    EXPECT_EQ(ProcessIsRunning(&m_bundle), 0);
    running.end();
    EXPECT_EQ(ProcessIsRunning(&m_bundle), 0);
}

TEST_F(RunningProcess, IsNoneForANullReference)
{
    EXPECT_EQ(ProcessIsRunning(nullptr), 0);
    EXPECT_EQ(FindRunningProcess(nullptr).lowLongOfPSN, 0u);
}

TEST_F(RunningProcess, ProcessesThatComeAndGoDoNoHarm)
{
    const RunningProgram running(m_program);
    copyWaitingProgram(m_folder.at("fleeting"));
    std::atomic<bool> stop = false;
    std::thread starter([&] {
        while (!stop)
            RunningProgram(m_folder.at("fleeting")).end();
    });
    for (int round = 0; round < 20; ++round)
        EXPECT_EQ(ProcessIsRunning(&m_bundle), 1);
    stop = true;
    starter.join();
}
