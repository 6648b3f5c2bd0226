#include "tests/WatchSelfUpdate/HandOverStage.h"

#include <fcntl.h>
#include <fstream>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

constexpr mode_t kForEverybody = 0777;

} // namespace

HandOverStage::HandOverStage()
    : m_tool(WATCH_SELF_UPDATE_QUICK_TOOL)
    , m_bundle(m_folder.at("Host.app"))
{
    EXPECT_TRUE(!ownsRoot() || chown(m_tool.folder().path().c_str(), user(), user()) == 0);
    EXPECT_EQ(chmod(m_folder.path().c_str(), kForEverybody), 0);
    const std::string pipe = m_folder.at("reports").string();
    EXPECT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(chmod(pipe.c_str(), 0666), 0);
    // Open for both: a host never waits for a reader, and there is never an end of file between two hosts.
    m_reports = open(pipe.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    EXPECT_GE(m_reports, 0);
    writeHost(m_bundle, "host", "");
}

HandOverStage::~HandOverStage()
{
    (void)close(m_reports); // a pipe holds nothing that could be lost
}

bool HandOverStage::ownsRoot() const
{
    return geteuid() == 0;
}

std::string HandOverStage::markerBytes() const
{
    return runFile() + '\0' + m_bundle.string() + '\0';
}

void HandOverStage::writeHost(const fs::path& bundle, const std::string& name, const std::string& more) const
{
    fs::create_directories(bundle / "Contents/Linux");
    std::ofstream(bundle / "Contents/Info.plist") << "<plist/>";
    const fs::path program = bundle / "Contents/Linux/TandemService";
    std::ofstream(program) << "#!/bin/sh\nreport=$(echo '" << name << "' $(id -u)\n"
                           << more << "\n)\necho \"$report\" > '" << m_folder.at("reports").string() << "'\n";
    EXPECT_EQ(chmod(program.c_str(), 0755), 0);
}

void HandOverStage::writeOwned(const fs::path& file, const std::string& bytes) const
{
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_TRUE(!ownsRoot() || lchown(file.c_str(), user(), user()) == 0);
}

std::string HandOverStage::reports(int waitMs) const
{
    std::string text;
    pollfd one = {m_reports, POLLIN, 0};
    if (poll(&one, 1, waitMs) != 1)
        return text;
    char bytes[4096];
    ssize_t count = 0;
    while ((count = read(m_reports, bytes, sizeof(bytes))) > 0)
        text.append(bytes, static_cast<std::size_t>(count));
    return text;
}
