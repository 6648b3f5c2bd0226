#include "tests/WatchSelfUpdate/RunningProgram.h"

#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

RunningProgram::RunningProgram(const std::vector<std::string>& words, uid_t user)
{
    std::vector<char*> list;
    for (const std::string& word : words)
        list.push_back(const_cast<char*>(word.c_str()));
    list.push_back(nullptr);
    int input[2] = {-1, -1};
    int started[2] = {-1, -1};
    EXPECT_EQ(pipe2(input, O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(started, O_CLOEXEC), 0);
    m_pid = fork();
    if (m_pid == 0) {
        (void)dup2(input[0], STDIN_FILENO);
        if (user == ToolCopy::kCurrentUser
            || (setresgid(user, user, user) == 0 && setresuid(user, user, user) == 0))
            (void)execv(list[0], list.data());
        _exit(99);
    }
    EXPECT_EQ(close(input[0]), 0);
    EXPECT_EQ(close(started[1]), 0);
    m_input = input[1];
    // The other end closes itself when the program runs.
    char none = 0;
    EXPECT_EQ(read(started[0], &none, 1), 0);
    EXPECT_EQ(close(started[0]), 0);
}

void RunningProgram::end()
{
    if (m_pid < 0)
        return;
    EXPECT_EQ(close(m_input), 0);
    EXPECT_EQ(waitpid(m_pid, nullptr, 0), m_pid);
    m_pid = -1;
}

void RunningProgram::kill()
{
    EXPECT_EQ(::kill(m_pid, SIGKILL), 0);
    end();
}
