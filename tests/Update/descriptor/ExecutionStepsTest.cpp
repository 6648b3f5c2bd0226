// The order in which a descriptor's actions are carried out.
#include "tests/Update/descriptor/ScriptedPlatform.h"
#include "tests/Update/descriptor/Suite.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::ElementsAre;

namespace {

class ExecutionSteps : public testing::Test {
protected:
    /// A file with an archive that seems to be expanded, and a program.
    DescriptorFile file(const std::string& name) const
    {
        const ScopedTempDir& folder = m_suite.home().folder();
        DescriptorFile file = fileNamed("Top");
        (void)folder.write("work/" + name + "/expanded", "x");
        file.unzip = folder.write("work/" + name + "/" + name + ".zip", "x").string();
        file.run = folder.write("work/" + name + "/" + name + ".run", "x").string();
        return file;
    }

    const Suite m_suite;
    ScriptedPlatform m_platform;
};

OSStatus refuse(const FSRef&)
{
    return -1;
}

} // namespace

TEST_F(ExecutionSteps, PutTheFilesOnDiskBeforeTheArchivesAndBeforeTheRest)
{
    const auto interpreter = m_suite.parsed(DescriptorBuilder().file(file("b")).file(file("a")));
    EXPECT_TRUE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_THAT(m_platform.deeds(),
        ElementsAre("flush", "open b.zip 80900", "event 0", "open a.zip 80900", "event 0", "flush",
            "launch b.run 4800", "launch a.run 4800"));
}

TEST_F(ExecutionSteps, EndWithTheArchivesWhenTheyCannotBeUnpacked)
{
    const auto interpreter = m_suite.parsed(DescriptorBuilder().file(file("a")));
    m_platform.open = refuse;
    EXPECT_FALSE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_THAT(m_platform.deeds(), ElementsAre("flush", "open a.zip 80900"));
}

TEST_F(ExecutionSteps, EndWithTheFirstProgramThatCannotBeStarted)
{
    const auto interpreter = m_suite.parsed(DescriptorBuilder().file(file("a")).file(file("b")));
    m_platform.launch = refuse;
    m_platform.open = [](const FSRef& document) { return document.path.ends_with(".zip") ? 0 : -1; };
    EXPECT_FALSE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_EQ(m_platform.deeds().back(), "open a.run 40 into apps"); // the product lies there
}

TEST_F(ExecutionSteps, OpenNothingWhenTheLastArchiveIsMissing)
{
    DescriptorFile missing = file("b");
    missing.unzip += ".gone";
    const auto interpreter = m_suite.parsed(DescriptorBuilder().file(file("a")).file(missing));
    EXPECT_FALSE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_THAT(m_platform.deeds(), ElementsAre("flush"));
}
