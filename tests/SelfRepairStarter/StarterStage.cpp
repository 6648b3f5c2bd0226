#include "tests/SelfRepairStarter/StarterStage.h"

#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace fs = std::filesystem;

namespace {

bool holds(int fd, const std::string& bytes)
{
    std::string found(bytes.size() + 1, '\0');
    const ssize_t count = pread(fd, found.data(), found.size(), 0);
    found.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
    return found == bytes;
}

} // namespace

StarterStage::StarterStage()
    : m_genuine(readWholeFile(WATCH_SELF_UPDATE_TOOL))
{
    EXPECT_EQ(chmod(m_installed.path().c_str(), 0755), 0);
    EXPECT_EQ(mkdir(m_installed.at("bundle").c_str(), 0755), 0);
    EXPECT_EQ(chmod(m_installed.at("bundle").c_str(), 0755), 0);
    fs::copy_file(WATCH_SELF_UPDATE_TOOL, templateTool());
    EXPECT_EQ(chmod(templateTool().c_str(), 0755), 0);
    fs::copy_file(WATCH_SELF_UPDATE_TOOL, tool());
    if (geteuid() != 0)
        return;
    EXPECT_EQ(chown(tool().c_str(), kUser, kUser), 0);
    EXPECT_EQ(chmod(tool().c_str(), 0755), 0);
    EXPECT_EQ(chown(m_home.path().c_str(), kUser, kUser), 0);
}

void StarterStage::writeOwned(const fs::path& file, const std::string& bytes) const
{
    std::ofstream(file, std::ios::binary) << bytes;
    EXPECT_EQ(chown(file.c_str(), kUser, kUser), 0);
    EXPECT_EQ(chmod(file.c_str(), 0755), 0);
}

StarterRun StarterStage::run(const std::string& tool, const std::string& caller) const
{
    return runWith({templateTool().string(), tool, "--self-repair"}, caller.c_str());
}

StarterRun StarterStage::runWith(std::vector<std::string> words, const char* caller, uid_t user) const
{
    words.insert(words.begin(), SELF_REPAIR_STARTER_FOR_TESTS);
    std::vector<char*> list;
    for (std::string& word : words)
        list.push_back(word.data());
    list.push_back(nullptr);
    const fs::path errors = m_output.at("errors");
    const int fd = open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_GE(fd, 0);
    // Opened before: another user may not come through the folders that it was built in.
    const int program = open(SELF_REPAIR_STARTER_FOR_TESTS, O_PATH | O_CLOEXEC);
    EXPECT_GE(program, 0);
    const pid_t child = fork();
    EXPECT_GE(child, 0);
    if (child == 0) {
        const bool isSet = caller ? setenv("PKEXEC_UID", caller, 1) == 0 : unsetenv("PKEXEC_UID") == 0;
        if (isSet && dup2(fd, STDERR_FILENO) >= 0 && (user == 0 || setresuid(user, user, user) == 0))
            (void)fexecve(program, list.data(), environ);
        _exit(99);
    }
    EXPECT_EQ(close(program), 0);
    EXPECT_EQ(close(fd), 0);
    int state = -1;
    EXPECT_EQ(waitpid(child, &state, 0), child);
    return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, readWholeFile(errors)};
}

struct stat StarterStage::infoOf(const fs::path& file) const
{
    struct stat info { };
    EXPECT_EQ(lstat(file.c_str(), &info), 0) << file;
    return info;
}

void StarterStage::expectNothingForeign() const
{
    for (const auto& entry : fs::directory_iterator(m_home.path())) {
        EXPECT_EQ(entry.path().filename().string().find("ran-as-"), std::string::npos) << entry.path();
        // The file itself: its name may be given to another one meanwhile.
        const int fd = open(entry.path().c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        struct stat info { };
        const bool isRoots = fd >= 0 && fstat(fd, &info) == 0 && info.st_uid == 0;
        EXPECT_TRUE(!isRoots || (S_ISREG(info.st_mode) && holds(fd, m_genuine))) << entry.path();
        EXPECT_TRUE(fd < 0 || close(fd) == 0);
    }
}
