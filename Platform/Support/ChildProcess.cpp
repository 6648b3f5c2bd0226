#include "Platform/Support/ChildProcess.h"

#include "Platform/Support/Assertion.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kFirstInheritedDescriptor = STDERR_FILENO + 1;

bool isDropped(std::string_view entry, const std::vector<std::string_view>& names)
{
    const std::string_view name = entry.substr(0, entry.find('='));
    return std::find(names.begin(), names.end(), name) != names.end();
}

std::vector<char*> environmentWithout(const std::vector<std::string_view>& names)
{
    std::vector<char*> entries;
    for (char** entry = environ; entry && *entry; ++entry)
        if (!isDropped(*entry, names))
            entries.push_back(*entry);
    entries.push_back(nullptr);
    return entries;
}

std::vector<char*> argumentVector(const ChildRequest& request)
{
    // posix_spawn takes pointers to non-constant text and does not write to it.
    std::vector<char*> arguments {const_cast<char*>(request.program.c_str())};
    for (const std::string& argument : request.arguments)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    return arguments;
}

// The spawn call's two option objects, filled for one request.
class SpawnOptions {
public:
    SpawnOptions()
    {
        m_error = posix_spawn_file_actions_init(&m_actions);
        VELMORA_ASSERT(m_error == 0); // neither can fail on this system
        m_error = posix_spawnattr_init(&m_attributes);
        VELMORA_ASSERT(m_error == 0);
    }
    SpawnOptions(const SpawnOptions&) = delete;
    SpawnOptions& operator=(const SpawnOptions&) = delete;
    ~SpawnOptions()
    {
        (void)posix_spawnattr_destroy(&m_attributes);       // always 0
        (void)posix_spawn_file_actions_destroy(&m_actions); // always 0
    }

    int fill(const ChildRequest& request)
    {
        openNull(STDIN_FILENO, O_RDONLY);
        if (request.withoutOutput)
            openNull(STDOUT_FILENO, O_WRONLY);
        // A closed standard output would be taken by the first file that the program opens, which then
        // received its messages.
        for (const int fd : {STDOUT_FILENO, STDERR_FILENO})
            if (fcntl(fd, F_GETFD) == -1)
                openNull(fd, O_WRONLY);
        if (request.outputFd >= 0)
            note(posix_spawn_file_actions_adddup2(&m_actions, request.outputFd, STDOUT_FILENO));
        note(posix_spawn_file_actions_addclosefrom_np(&m_actions, kFirstInheritedDescriptor));

        sigset_t none;
        sigset_t all;
        sigemptyset(&none);
        sigfillset(&all);
        note(posix_spawnattr_setsigmask(&m_attributes, &none));
        note(posix_spawnattr_setsigdefault(&m_attributes, &all));
        const int session = request.withoutTerminal ? POSIX_SPAWN_SETSID : 0;
        note(posix_spawnattr_setflags(
            &m_attributes, static_cast<short>(POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | session)));
        return m_error;
    }

    const posix_spawn_file_actions_t* actions() const { return &m_actions; }
    const posix_spawnattr_t* attributes() const { return &m_attributes; }

private:
    void openNull(int fd, int mode)
    {
        note(posix_spawn_file_actions_addopen(&m_actions, fd, "/dev/null", mode, 0));
    }
    void note(int error)
    {
        if (m_error == 0)
            m_error = error;
    }

    posix_spawn_file_actions_t m_actions;
    posix_spawnattr_t m_attributes;
    int m_error = 0;
};

} // namespace

// While it lives the system keeps the status of ended children, also in a program that ignores SIGCHLD.
class ChildProcess::KeptStatus {
public:
    KeptStatus()
    {
        if (sigaction(SIGCHLD, nullptr, &m_former) != 0)
            return;
        const bool discards = m_former.sa_handler == SIG_IGN || (m_former.sa_flags & SA_NOCLDWAIT) != 0;
        if (!discards)
            return;
        struct sigaction keeping { };
        keeping.sa_handler = SIG_DFL;
        m_wasChanged = sigaction(SIGCHLD, &keeping, nullptr) == 0;
    }
    KeptStatus(const KeptStatus&) = delete;
    KeptStatus& operator=(const KeptStatus&) = delete;
    ~KeptStatus()
    {
        if (m_wasChanged)
            (void)sigaction(SIGCHLD, &m_former, nullptr); // it was valid before
    }

private:
    struct sigaction m_former { };
    bool m_wasChanged = false;
};

ChildProcess::ChildProcess() = default;

ChildProcess::~ChildProcess()
{
    (void)waitUntilEnded(); // nobody asked for the status
}

int ChildProcess::start(const ChildRequest& request)
{
    VELMORA_ASSERT(m_pid == 0 && m_status == kStatusUnknown);
    SpawnOptions options;
    int error = options.fill(request);
    if (error != 0)
        return error;
    const std::vector<char*> arguments = argumentVector(request);
    const std::vector<char*> environment = request.withoutEnvironment
        ? std::vector<char*> {nullptr}
        : environmentWithout(request.droppedVariables);
    m_keptStatus = std::make_unique<KeptStatus>();
    pid_t pid = 0;
    error = posix_spawn(&pid, request.program.c_str(), options.actions(), options.attributes(),
        arguments.data(), environment.data());
    if (error == 0)
        m_pid = pid;
    else
        m_keptStatus.reset();
    return error;
}

void ChildProcess::adopt(int processId)
{
    VELMORA_ASSERT(m_pid == 0 && m_status == kStatusUnknown && processId > 0);
    m_pid = processId;
}

void ChildProcess::askToEnd()
{
    if (m_pid != 0)
        (void)kill(m_pid, SIGTERM); // whoever may not be told goes on
}

bool ChildProcess::hasEnded()
{
    return reap(WNOHANG);
}

int ChildProcess::waitUntilEnded()
{
    (void)reap(0); // true: it blocks until the child has ended
    return m_status;
}

bool ChildProcess::reap(int flags)
{
    if (m_pid == 0)
        return true;
    int state = 0;
    pid_t result = -1;
    do
        result = waitpid(m_pid, &state, flags);
    while (result == -1 && errno == EINTR);
    if (result == 0)
        return false;
    // Anything else but the child itself means that somebody else reaped it: its status is lost.
    if (result == m_pid) {
        m_endedBySignal = WIFSIGNALED(state);
        m_status = m_endedBySignal ? kSignalStatusBase + WTERMSIG(state) : WEXITSTATUS(state);
    }
    m_pid = 0;
    m_keptStatus.reset();
    return true;
}
