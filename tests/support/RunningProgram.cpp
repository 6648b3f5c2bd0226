// Programs that run while a test looks at them.
#include "tests/support/RunningProgram.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

std::vector<char*> pointersTo(RunningProgram::Texts& texts)
{
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

void require(bool condition, const char* what)
{
    if (condition)
        return;
    std::perror(what);
    std::abort();
}

/// The start of a child returns before the kernel shows its arguments.
bool showsArguments(int pid)
{
    char byte;
    const int file = ::open(("/proc/" + std::to_string(pid) + "/cmdline").c_str(), O_RDONLY | O_CLOEXEC);
    const bool shows = ::read(file, &byte, 1) == 1;
    ::close(file);
    return shows;
}

} // namespace

bool eventually(const std::function<bool()>& condition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::yield();
    }
    return true;
}

RunningProgram::RunningProgram(const fs::path& program, Texts arguments, Texts environment)
{
    if (arguments.empty())
        arguments = {program.string()};
    int ends[2];
    require(::pipe2(ends, O_CLOEXEC) == 0, "pipe2");
    m_input = ends[1];
    posix_spawn_file_actions_t actions;
    require(::posix_spawn_file_actions_init(&actions) == 0
            && ::posix_spawn_file_actions_adddup2(&actions, ends[0], 0) == 0,
        "posix_spawn_file_actions");
    errno = ::posix_spawn(&m_pid, program.c_str(), &actions, nullptr, pointersTo(arguments).data(),
        pointersTo(environment).data());
    require(errno == 0, program.c_str());
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[0]);
    require(eventually([this] { return showsArguments(m_pid); }), "cmdline");
}

RunningProgram::~RunningProgram()
{
    end();
    ::close(m_input);
}

void RunningProgram::endUncollected()
{
    siginfo_t info;
    ::kill(m_pid, SIGKILL);
    require(::waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOWAIT) == 0, "waitid");
}

void RunningProgram::end()
{
    const int pid = std::exchange(m_pid, 0);
    if (pid == 0)
        return;
    ::kill(pid, SIGKILL);
    require(::waitpid(pid, nullptr, 0) == pid, "waitpid");
}

void copyWaitingProgram(const fs::path& file)
{
    fs::create_directories(file.parent_path());
    fs::copy_file("/bin/sh", file); // reads commands from there
}

void writeWaitingScript(const fs::path& file, std::string_view firstLine)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << firstLine << "\nread line\n";
    fs::permissions(file, fs::perms(0755));
}
