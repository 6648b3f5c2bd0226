// Which program a bundle is started again from.
#include "TandemService/Relaunch.h"

#include "tests/TandemService/HostBundle.h"

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

struct AppFolder {
    explicit AppFolder(const std::string& executable = "Program")
    {
        writeInfoPlist(scratch, "A.app", "com.velmora.test.A", executable);
        (void)scratch.write("A.app/Contents/Linux/Program", "#!/bin/sh\n");
        fs::permissions(scratch.at("A.app/Contents/Linux/Program"), fs::perms::owner_all);
    }
    std::string program() const { return programOfBundle(scratch.at("A.app").string()); }

    ScopedTempDir scratch;
};

} // namespace

TEST(Relaunch, TakesTheProgramThatTheBundleNames)
{
    const AppFolder app;
    EXPECT_EQ(app.program(), app.scratch.at("A.app/Contents/Linux/Program").string());
}

TEST(Relaunch, RefusesWhatIsNoBundle)
{
    const AppFolder app;
    EXPECT_EQ(programOfBundle(""), "");
    EXPECT_EQ(programOfBundle("A.app"), "");
    EXPECT_EQ(programOfBundle(app.scratch.path().string()), "");
    EXPECT_EQ(programOfBundle(app.scratch.at("A.app/Contents/Linux/Program").string()), "");
}

TEST(Relaunch, RefusesProgramsOutsideTheBundle)
{
    for (const char* name : {"../../../evil", "/bin/sh", "..", ".", ""}) {
        const AppFolder app(name);
        fs::copy_file(app.scratch.at("A.app/Contents/Linux/Program"), app.scratch.at("evil"));
        EXPECT_EQ(app.program(), "") << name;
    }
}

TEST(Relaunch, RefusesWhatCannotBeStarted)
{
    EXPECT_EQ(AppFolder("Missing").program(), "");
    const AppFolder plain;
    fs::permissions(plain.scratch.at("A.app/Contents/Linux/Program"), fs::perms::owner_read);
    EXPECT_EQ(plain.program(), "");
    const AppFolder folder;
    fs::remove(folder.scratch.at("A.app/Contents/Linux/Program"));
    (void)folder.scratch.makeFolder("A.app/Contents/Linux/Program");
    EXPECT_EQ(folder.program(), "");
}
