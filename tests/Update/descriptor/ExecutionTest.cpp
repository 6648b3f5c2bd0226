// The execution of a descriptor's actions: the archives first, as one batch, then everything else.
#include "tests/Update/descriptor/Suite.h"
#include "tests/support/ZipFile.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class DoActionExceptDownload : public testing::Test {
protected:
    fs::path at(std::string_view name) const { return m_suite.home().folder().at(name); }

    /// Interprets a descriptor with these files, which the top product gets.
    std::unique_ptr<CXMLInterpret> interpret(const std::vector<DescriptorFile>& files) const
    {
        DescriptorBuilder descriptor;
        for (const DescriptorFile& file : files)
            descriptor.file(file);
        return m_suite.parsed(descriptor);
    }
    DescriptorFile file(const fs::path& unzip, const fs::path& run = {}) const
    {
        DescriptorFile file = fileNamed("Top");
        file.unzip = unzip.string();
        file.run = run.string();
        return file;
    }
    /// Writes a script that adds its name to the file "order".
    fs::path step(const std::string& name, const std::string& more = {}) const
    {
        const fs::path path = m_suite.home().folder().write("steps/" + name + "/run",
            "#!/bin/sh\necho " + name + " >> " + at("order").string() + "\n" + more + "\n");
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    fs::path archive(const std::string& name) const
    {
        return m_suite.home().folder().write("archives/" + name + "/" + name, zipOf("inside.txt", name));
    }

    const Suite m_suite;
};

} // namespace

TEST_F(DoActionExceptDownload, DoesNothingForDownloadsAlone)
{
    const auto interpreter = interpret({file({})});
    ASSERT_EQ(interpreter->filesToUpdate().size(), 1u);
    EXPECT_TRUE(interpreter->DoActionExceptDownload(nullptr));
}

TEST_F(DoActionExceptDownload, UnpacksEverythingBeforeAnythingRuns)
{
    const fs::path first = archive("a.zip");
    const fs::path last = archive("b.zip");
    const std::string look
        = "ls " + at("archives").string() + "/*/inside.txt | wc -l >> " + at("order").string();
    const auto interpreter = interpret({file(first, step("one", look)), file(last, step("two"))});
    EXPECT_TRUE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_EQ(readWholeFile(at("order")), "one\n2\ntwo\n");
    EXPECT_EQ(readWholeFile(at("archives/a.zip/inside.txt")), "a.zip");
    EXPECT_EQ(readWholeFile(at("archives/b.zip/inside.txt")), "b.zip");
}

TEST_F(DoActionExceptDownload, UnpacksNothingWhenOneArchiveIsMissing)
{
    const fs::path there = archive("a.zip");
    const auto interpreter = interpret({file(there, step("one")), file(at("missing.zip"))});
    EXPECT_FALSE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_FALSE(fs::exists(at("archives/a.zip/inside.txt")));
    EXPECT_FALSE(fs::exists(at("order")));
}

TEST_F(DoActionExceptDownload, RunsNothingWhenAnArchiveCannotBeUnpacked)
{
    const fs::path broken = m_suite.home().folder().write("archives/broken/a.zip", "no archive");
    const auto interpreter = interpret({file(broken, step("one"))});
    EXPECT_FALSE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_FALSE(fs::exists(at("order")));
}

TEST_F(DoActionExceptDownload, StopsAtTheFirstActionThatFails)
{
    const auto interpreter
        = interpret({file({}, step("one")), file({}, at("steps/missing/run")), file({}, step("three"))});
    EXPECT_FALSE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_EQ(readWholeFile(at("order")), "one\n");
}

TEST_F(DoActionExceptDownload, RunsWhatAnArchiveBrought)
{
    const fs::path zip = m_suite.home().folder().write("archives/z/a.zip", zipOf("data.txt", "unpacked"));
    const auto interpreter = interpret(
        {file(zip, step("one", "cp " + at("archives/z/data.txt").string() + " " + at("copy").string()))});
    EXPECT_TRUE(interpreter->DoActionExceptDownload(nullptr));
    EXPECT_EQ(readWholeFile(at("copy")), "unpacked");
}
