#include "tests/WatchSelfUpdate/ToolProcess.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

[[noreturn]] void becomeTool(
    const std::string& program, const std::vector<std::string>& arguments, uid_t user, int errorFd)
{
    std::vector<char*> list {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        list.push_back(const_cast<char*>(argument.c_str()));
    list.push_back(nullptr);
    if (dup2(errorFd, STDERR_FILENO) < 0)
        _exit(99);
    if (user != ToolCopy::kCurrentUser
        && (setresgid(user, user, user) != 0 || setresuid(user, user, user) != 0))
        _exit(98);
    (void)execv(program.c_str(), list.data());
    _exit(97);
}

} // namespace

ToolCopy::ToolCopy(const char* program)
    : m_tool(m_folder.at("WatchSelfUpdate"))
{
    std::filesystem::copy_file(program, m_tool);
    EXPECT_EQ(chmod(m_folder.path().c_str(), 0755), 0);
    const bool canGiveAway = geteuid() == 0;
    EXPECT_TRUE(!canGiveAway || chown(m_tool.c_str(), kOrdinaryUser, kOrdinaryUser) == 0);
    EXPECT_EQ(chmod(m_tool.c_str(), 0755), 0);
}

struct stat ToolCopy::info() const
{
    struct stat info { };
    EXPECT_EQ(stat(m_tool.c_str(), &info), 0);
    return info;
}

ToolRun ToolCopy::run(const std::vector<std::string>& arguments, uid_t user) const
{
    return runAs(m_tool.string(), arguments, user);
}

ToolRun ToolCopy::runAs(
    const std::string& program, const std::vector<std::string>& arguments, uid_t user) const
{
    const std::filesystem::path errors = m_folder.at("errors");
    const int fd = open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    EXPECT_GE(fd, 0);
    const pid_t child = fork();
    EXPECT_GE(child, 0);
    if (child == 0)
        becomeTool(program, arguments, user, fd);
    EXPECT_EQ(close(fd), 0);
    int state = -1;
    EXPECT_EQ(waitpid(child, &state, 0), child);
    return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, readWholeFile(errors)};
}
