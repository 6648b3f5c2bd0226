#include "tests/support/ChildProcess.h"

#include <cstdio>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

namespace child {

namespace {

constexpr int kCouldNotStart = 255;

}

int run(const std::function<int()>& body)
{
    // What is buffered by now belongs to the parent alone.
    (void)std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0)
        return kCouldNotStart;
    if (pid == 0)
        ::_exit(body());
    int status = 0;
    if (::waitpid(pid, &status, 0) != pid)
        return kCouldNotStart;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

int runAsNobody(const std::function<int()>& body)
{
    return run([&body] {
        const bool changed = ::setgroups(0, nullptr) == 0 && ::setresgid(kNobody, kNobody, kNobody) == 0
            && ::setresuid(kNobody, kNobody, kNobody) == 0;
        return changed ? body() : kCouldNotStart;
    });
}

bool canChangeUser()
{
    return ::geteuid() == 0;
}

} // namespace child
