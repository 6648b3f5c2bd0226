#include "WatchSelfUpdate/Host.h"

#include "WatchSelfUpdate/Failure.h"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr uid_t kRootUser = 0;
constexpr int kCouldNotStart = 127;

bool isRegularFile(const std::string& path)
{
    struct stat info { };
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isTrustedProgram(const std::string& path)
{
    struct stat info { };
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return false;
    const bool hasTrustedOwner = info.st_uid == kRootUser || info.st_uid == getuid();
    return hasTrustedOwner && (info.st_mode & S_IWOTH) == 0 && access(path.c_str(), X_OK) == 0;
}

void resetSignals()
{
    sigset_t none;
    sigemptyset(&none);
    (void)sigprocmask(SIG_SETMASK, &none, nullptr); // its arguments are valid
    for (int number = 1; number < NSIG; ++number)
        (void)signal(number, SIG_DFL); // refused for the two that cannot be changed
}

bool openNullOnStandardDescriptors()
{
    const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (null < 0)
        return false;
    for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (dup2(null, fd) < 0)
            return false;
    return true;
}

// Tells why through `report`, which closes itself when the program runs.
[[noreturn]] void becomeHost(char* program, char** environment, mode_t hostUmask, int report)
{
    char* const words[] = {program, nullptr};
    resetSignals();
    (void)umask(hostUmask); // gives the former one
    if (setsid() >= 0 && chdir("/") == 0 && openNullOnStandardDescriptors())
        (void)execve(program, words, environment);
    const int error = errno;
    (void)write(report, &error, sizeof(error)); // without it the parent takes it for started
    _exit(kCouldNotStart);
}

// 0 when the other end was closed without a word, otherwise the error that it told.
int readReport(int report)
{
    int error = 0;
    ssize_t count = -1;
    do
        count = read(report, &error, sizeof(error));
    while (count < 0 && errno == EINTR);
    return count == sizeof(error) ? error : 0;
}

} // namespace

std::string hostProgramOf(const std::string& bundle)
{
    const std::string program = bundle + kHostProgramInBundle;
    const bool hasHost = isRegularFile(bundle + "/Contents/Info.plist") && isTrustedProgram(program);
    return hasHost ? program : std::string();
}

ExitStatus startHost(const std::string& program, const Session& session)
{
    std::vector<char*> environment;
    for (const std::string& entry : session.environment)
        environment.push_back(const_cast<char*>(entry.c_str())); // execve does not write to it
    environment.push_back(nullptr);
    int report[2] = {-1, -1};
    if (pipe2(report, O_CLOEXEC) != 0)
        return failed("pipe");
    const pid_t child = fork();
    if (child < 0)
        return failed("fork");
    if (child == 0)
        becomeHost(const_cast<char*>(program.c_str()), environment.data(), session.umask, report[1]);
    (void)close(report[1]); // only the child writes to it
    errno = readReport(report[0]);
    (void)close(report[0]); // it was only read
    return errno == 0 ? ExitStatus::Ok : failed("exec");
}
