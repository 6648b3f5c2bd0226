// The program `installer`: its command line and its exit statuses.
#include "tests/TandemService/package/InstallFixture.h"

#include <array>
#include <cstdio>

#include <sys/wait.h>

namespace fs = std::filesystem;

namespace {

class Program : public InstallFixture {
protected:
    /// Runs it; its standard error goes to m_text.
    int run(const std::string& arguments)
    {
        const fs::path out = m_scratch.at("stderr.txt");
        const int status = std::system((INSTALLER_PROGRAM " " + arguments + " 2>" + out.string()).c_str());
        m_text = readWholeFile(out);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::string m_text;
};

} // namespace

TEST_F(Program, InstallsAndSaysNothing)
{
    const fs::path package = usualPackage().writeBundle(m_scratch.at("X.pkg"));
    EXPECT_EQ(run("-pkg " + package.string() + " -target " + m_target.string()), 0) << m_text;
    EXPECT_EQ(m_text, "");
    EXPECT_EQ(snapshot(m_target), usualOutcome());
}

TEST_F(Program, TakesItsOptionsInAnyOrder)
{
    const fs::path package = usualPackage().writeFlat(m_scratch.at("X.pkg"));
    EXPECT_EQ(run("-target " + m_target.string() + " -pkg " + package.string()), 0) << m_text;
    EXPECT_EQ(snapshot(m_target), usualOutcome());
}

TEST_F(Program, NamesTheReasonOfAFailure)
{
    EXPECT_EQ(run("-pkg /missing.pkg -target " + m_target.string()), 2);
    EXPECT_TRUE(m_text.starts_with("installer: the package /missing.pkg cannot be read")) << m_text;
    EXPECT_EQ(m_text.find('\n'), m_text.size() - 1);
}

TEST_F(Program, ExplainsItselfOnBadArguments)
{
    for (const char* arguments :
        {"", "-pkg", "-pkg a", "-target b", "-pkg a -target", "-pkg a -target b more", "-pkg a -pkg b",
            "-pkg '' -target b", "--help", "-recover a -pkg b", "-other a -target b"}) {
        EXPECT_EQ(run(arguments), 1) << arguments;
        EXPECT_TRUE(m_text.starts_with("usage: installer -pkg PATH -target FOLDER\n")) << arguments;
    }
}

TEST_F(Program, RecoversATarget)
{
    (void)m_scratch.makeFolder(".apps.velmora-install/new");
    (void)m_scratch.write(".apps.velmora-install/old/Gone", "was here");
    (void)m_scratch.write(".apps.velmora-install/journal", "install journal 1\n=4 Gone\nend\n");
    EXPECT_EQ(run("-recover " + m_target.string()), 0) << m_text;
    EXPECT_EQ(readWholeFile(m_target / "Gone"), "was here");
    expectNoLitter();
    EXPECT_EQ(run("-recover " + m_target.string()), 0) << "nothing to do is success";
}
