// The run action, with real programs.
#include "Update/descriptor/RunAction.h"

#include "Update/descriptor/General.h"
#include "tests/Update/descriptor/ParsedTree.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/FakeHome.h"
#include "tests/support/ProductBundles.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

class CRunDoAction : public testing::Test {
protected:
    /// Writes an executable script.
    fs::path script(std::string_view name, std::string_view commands) const
    {
        const fs::path path = m_home.folder().write(name, "#!/bin/sh\n" + std::string(commands) + "\n");
        fs::permissions(path, fs::perms::owner_all);
        return path;
    }
    /// Carries out a run action for `file`.
    int run(const fs::path& file, const std::string& children = {}) const
    {
        const ParsedTree tree("<action><location>" + file.string() + "</location>" + children + "</action>");
        const CConstants constants;
        CRun action;
        EXPECT_EQ(action.Parse(tree.root(), &constants), 1);
        CGeneral general;
        return action.DoAction(&general, nullptr);
    }
    fs::path at(std::string_view name) const { return m_home.folder().at(name); }

    const FakeHome m_home;
};

} // namespace

TEST_F(CRunDoAction, DeletesTheWholeFolderAfterTheProgramHasEnded)
{
    (void)m_home.folder().write("work/step/other download.zip", "x");
    (void)m_home.folder().write("work/step/folder/file", "x");
    EXPECT_EQ(
        run(script("work/step/run", "sleep 0.3; echo done > \"$0.out\"; mv \"$0.out\" \"${0%/step*}\"")), 1);
    EXPECT_EQ(readWholeFile(at("work/run.out")), "done\n"); // it was waited for
    EXPECT_FALSE(fs::exists(at("work/step")));
}

TEST_F(CRunDoAction, StartsABundle)
{
    const fs::path bundle
        = BundleBuilder()
              .executable("prog")
              .file("Contents/Linux/prog", "#!/bin/sh\necho started > \"${0%/step*}/out\"\n")
              .build(m_home.folder(), "work/step/Setup.app");
    fs::permissions(bundle / "Contents/Linux/prog", fs::perms::owner_all);
    EXPECT_EQ(run(bundle), 1);
    EXPECT_EQ(readWholeFile(at("work/out")), "started\n");
    EXPECT_FALSE(fs::exists(at("work/step")));
}

TEST_F(CRunDoAction, EndsItsWaitForAProgramThatEndsAtOnce)
{
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(run(script("work/step/run", "exit 1")), 1); // its status is not looked at
    EXPECT_FALSE(fs::exists(at("work/step")));
}

TEST_F(CRunDoAction, LeavesAProgramRunningThatItDoesNotWaitFor)
{
    const fs::path file = script("work/step/run",
        "n=0; while [ ! -e \"$0.go\" ] && [ $n -lt 600 ]; do n=$((n+1)); sleep 0.05; done; "
        "echo x > \"$0.end\"");
    EXPECT_EQ(run(file, "<wait>FALSE</wait>"), 1);
    EXPECT_FALSE(fs::exists(at("work/step/run.end")));
    EXPECT_TRUE(fs::exists(file));
    (void)m_home.folder().write("work/step/run.go", "");
    CRun again; // a later wait for the same file ends with the program
    const ParsedTree tree("<action><location>" + at("work/step/second").string() + "</location></action>");
    (void)script("work/step/second",
        "n=0; while [ ! -e \"${0%second}run.end\" ] && [ $n -lt 600 ]; do n=$((n+1)); "
        "sleep 0.05; done");
    EXPECT_EQ(run(at("work/step/second")), 1);
    EXPECT_FALSE(fs::exists(at("work/step")));
}

TEST_F(CRunDoAction, SucceedsAlsoWhenTheFolderIsKept)
{
    collectedProductBundles() = {at("work/step/Product.app")};
    (void)m_home.folder().write("work/step/Product.app/file", "x");
    EXPECT_EQ(run(script("work/step/run", "true")), 1);
    collectedProductBundles().clear();
    EXPECT_TRUE(fs::exists(at("work/step/Product.app/file")));
    EXPECT_EQ(run(script("cache/run", "true")), 1);
    EXPECT_TRUE(fs::exists(at("cache/run")));
    EXPECT_EQ(run(script("home/run", "true")), 1);
    EXPECT_TRUE(fs::exists(at("home/run")));
}

TEST_F(CRunDoAction, SucceedsAlsoWhenTheProgramDeletedItsFolderItself)
{
    EXPECT_EQ(run(script("work/step/run", "rm -rf \"${0%/*}\"")), 1);
    EXPECT_FALSE(fs::exists(at("work/step")));
}

TEST_F(CRunDoAction, FailsForWhatNothingOpens)
{
    const fs::path file = m_home.folder().write("work/step/data.bin", std::string(16, '\0'));
    EXPECT_EQ(run(file), 0);
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ(run(at("work/step/missing")), 0);
}

TEST_F(CRunDoAction, StartsNothingForALocationThatNamesNoFile)
{
    (void)script("work/step/run", "echo > \"$0.started\"");
    const std::string step = at("work/step").string();
    for (const std::string& location : {std::string(), std::string("/"), std::string("//"), std::string("/."),
             std::string(".."), std::string("/.."), step + "/..", step + "/run/", step + "/run/.",
             step + "/missing", "/" + std::string(1022, 'x')})
        EXPECT_EQ(run(location), 0) << location;
    EXPECT_FALSE(fs::exists(at("work/step/run.started")));
    EXPECT_TRUE(fs::exists(at("work/step/run")));
}

TEST_F(CRunDoAction, TakesALocationHoweverItIsWritten)
{
    const fs::path former = fs::current_path();
    const std::string step = at("work/step").string();
    for (const std::string& location : {step + "//run", step + "/./run", step + "/../step/run",
             step + "/inner/../run", "/" + step + "/run", std::string("step/run")}) {
        (void)m_home.folder().makeFolder("work/step/inner");
        (void)script("work/step/run", "true");
        fs::current_path(at("work"));
        EXPECT_EQ(run(location), 1) << location;
        fs::current_path(former);
        EXPECT_FALSE(fs::exists(step)) << location;
        EXPECT_TRUE(fs::exists(at("work"))) << location;
    }
}

TEST_F(CRunDoAction, StartsAFileWhosePathHas1023BytesAndNotOneMore)
{
    std::string folder = at("work").string();
    while (folder.size() < 800)
        folder += "/" + std::string(99, 'd');
    for (const std::size_t length : {std::size_t {1022}, std::size_t {1023}}) {
        const std::string file = folder + "/" + std::string(length - folder.size() - 1, 'r');
        (void)script(fs::relative(file, m_home.path()).string(), "true");
        EXPECT_EQ(run(file), 1) << length;
        EXPECT_FALSE(fs::exists(folder)) << length;
    }
    // 1024 bytes, but one unit less: it fits the descriptor and not the file system's calls.
    const std::string file = folder + "/" + std::string(1024 - folder.size() - 3, 'r') + "\xC3\xA9";
    ASSERT_EQ(file.size(), 1024u);
    (void)script(fs::relative(file, m_home.path()).string(), "true");
    EXPECT_EQ(run(file), 0);
    EXPECT_TRUE(fs::exists(file));
}

TEST_F(CRunDoAction, KeepsTheHomeHoweverItIsReached)
{
    (void)m_home.folder().write("home/precious", "x");
    (void)m_home.folder().makeFolder("work/step");
    fs::create_directory_symlink(at("home"), at("work/step/link"));
    for (const char* folder : {"home", "work/step/link", "work/step/../../home", "work/step/link/.", ""}) {
        (void)script("home/program", "true");
        (void)script("program", "true"); // beside the home: that folder holds it
        EXPECT_EQ(run(at(folder) / "program"), 1) << folder;
        EXPECT_TRUE(fs::exists(at("home/precious"))) << folder;
        EXPECT_TRUE(fs::exists(at("home/program"))) << folder;
        EXPECT_TRUE(fs::is_symlink(at("work/step/link"))) << folder;
    }
}

TEST_F(CRunDoAction, DeletesALinkThatItStartedAndNotWhatItLeadsTo)
{
    const fs::path program = script("elsewhere/program", "true");
    (void)m_home.folder().makeFolder("work/step");
    fs::create_symlink(program, at("work/step/run"));
    EXPECT_EQ(run(at("work/step/run")), 1);
    EXPECT_FALSE(fs::exists(at("work/step")));
    EXPECT_TRUE(fs::exists(program));
}
