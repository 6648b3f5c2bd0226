// How a run action starts its file, waits for it, and what it hands on.
#include "Platform/Support/ErrorNumbers.h"
#include "Update/descriptor/General.h"
#include "Update/descriptor/RunAction.h"
#include "tests/Update/descriptor/ParsedTree.h"
#include "tests/Update/descriptor/ScriptedPlatform.h"
#include "tests/support/FakeHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

/// A delivered file "work/step/run" and the action that starts it.
class CRunSteps : public testing::Test {
protected:
    CRunSteps()
        : m_file(m_home.folder().write("work/step/run", "x"))
    {
        (void)m_home.folder().write("work/step/other", "x");
    }

    /// Parses an action for the file, with more children.
    void parse(CRun& run, const std::string& children = {}) const
    {
        const ParsedTree tree(
            "<action><location>" + m_file.string() + "</location>" + children + "</action>");
        const CConstants constants;
        ASSERT_EQ(run.Parse(tree.root(), &constants), 1);
    }
    bool folderIsThere() const { return fs::exists(m_file.parent_path()); }

    const FakeHome m_home;
    const fs::path m_file;
    ScriptedPlatform m_platform;
    CGeneral m_general;
};

OSStatus refuse(const FSRef&)
{
    return kLSApplicationNotFoundErr;
}

} // namespace

TEST_F(CRunSteps, StartAnApplicationDirectlyAndWaitByHalfSeconds)
{
    CRun run;
    parse(run);
    m_platform.runningAnswers = 3;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_EQ(m_platform.count("event 0.5"), 3);
    EXPECT_EQ(m_platform.deeds().front(), "launch run 4800");
    EXPECT_EQ(m_platform.count("open"), 0);
    EXPECT_FALSE(folderIsThere());
    EXPECT_TRUE(fs::exists(m_home.path() / "work"));
}

TEST_F(CRunSteps, WaitAlsoForAProcessThatTheApplicationLeft)
{
    CRun run;
    parse(run);
    m_platform.runningAnswers = 1;
    m_platform.fileRunningAnswers = 2;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_EQ(m_platform.count("event 0.5"), 3);
}

TEST_F(CRunSteps, DoNotWaitForTheRunningHostItself)
{
    CRun run;
    parse(run);
    m_platform.ownBundle = m_file;
    m_platform.fileRunningAnswers = 1000;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_EQ(m_platform.count("file running?"), 0);
    EXPECT_TRUE(folderIsThere()); // it holds the host
}

TEST_F(CRunSteps, OpenADocumentWithItsApplicationAndFollowThat)
{
    CRun run;
    parse(run);
    m_platform.launch = refuse;
    m_platform.runningAnswers = 2;
    m_platform.fileRunningAnswers = 1000; // somebody's own process of the same application
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_THAT(m_platform.deeds(), ElementsAre("launch run 4800", "open run 40", "event 0.5", "event 0.5"));
    EXPECT_FALSE(folderIsThere());
}

TEST_F(CRunSteps, FollowAnApplicationOfUnknownProcessByItsFile)
{
    CRun run;
    parse(run);
    m_platform.launch = refuse;
    m_platform.stateAfterwards = kNothingLaunched;
    m_platform.fileRunningAnswers = 2;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_EQ(m_platform.count("event 0.5"), 2);
}

TEST_F(CRunSteps, InstallIntoTheFolderThatHoldsTheDestination)
{
    const std::u16string product = (m_home.path() / "apps/Product.app").u16string();
    (void)m_home.folder().makeFolder("apps");
    CRun run;
    parse(run);
    run.SetDPath(product.c_str());
    m_platform.launch = refuse;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_EQ(m_platform.deeds()[1], "open run 40 into apps");
}

TEST_F(CRunSteps, GiveNoFolderForADestinationWithoutOne)
{
    for (const char16_t* destination : {u"", u"Product.app", u"/no/such/folder/Product.app"}) {
        CRun run;
        parse(run, "<wait>false</wait>");
        run.SetDPath(destination);
        m_platform.launch = refuse;
        m_platform.calls.clear();
        EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
        EXPECT_THAT(m_platform.deeds(), ElementsAre("launch run 4800", "open run 40"));
    }
}

TEST_F(CRunSteps, FailWhenNothingStartsTheFile)
{
    CRun run;
    parse(run);
    m_platform.launch = refuse;
    m_platform.open = refuse;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 0);
    EXPECT_THAT(m_platform.deeds(), ElementsAre("launch run 4800", "open run 40"));
    EXPECT_TRUE(folderIsThere());
}

TEST_F(CRunSteps, FailForAMissingOrEmptyLocation)
{
    CRun empty;
    EXPECT_EQ(empty.DoAction(&m_general, nullptr), 0);
    CRun run;
    parse(run);
    fs::remove(m_file);
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 0);
    EXPECT_TRUE(m_platform.calls.empty());
    EXPECT_TRUE(folderIsThere());
}

TEST_F(CRunSteps, GoOnAtOnceWhenTheActionDoesNotWait)
{
    CRun run;
    parse(run, "<wait>FALSE</wait>");
    m_platform.runningAnswers = 1000;
    m_general.closeApplication = 1;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_THAT(m_platform.calls, ElementsAre("launch run 4800"));
    EXPECT_TRUE(folderIsThere());
}

TEST_F(CRunSteps, NeverWaitForAnUpdater)
{
    CRun run;
    parse(run, "<wait>true</wait>");
    m_platform.runningAnswers = 1000;
    m_general.descriptorType = 1;
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_EQ(run.wait(), 0);
    EXPECT_THAT(m_platform.calls, ElementsAre("launch run 4800"));
    EXPECT_TRUE(folderIsThere());
}

TEST_F(CRunSteps, HandOverOnlyForAnUpdaterThatClosesTheApplication)
{
    for (const SInt32 closeApplication : {0, 1, 2, 3, 4}) {
        for (const SInt32 type : {0, 1, 2, 3, 5}) {
            CRun run;
            parse(run, "<wait>false</wait>");
            m_platform.calls.clear();
            m_general.closeApplication = closeApplication;
            m_general.descriptorType = type;
            EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
            const bool handsOver = closeApplication == 1 && type == 1;
            EXPECT_EQ(m_platform.count("quit"), handsOver ? 1 : 0) << closeApplication << " " << type;
        }
    }
}

TEST_F(CRunSteps, DoNotLookAtTheFileType)
{
    CRun run;
    parse(run, "<filetype>setup</filetype><wait>false</wait>");
    EXPECT_EQ(run.fileType(), 0);
    EXPECT_EQ(run.DoAction(&m_general, nullptr), 1);
    EXPECT_THAT(m_platform.calls, ElementsAre("launch run 4800"));
}
