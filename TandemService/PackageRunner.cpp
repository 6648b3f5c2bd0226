#include "TandemService/PackageRunner.h"

#include "TandemService/Paths.h"
#include "TandemService/package/InstallResult.h"
#include "Platform/Carbon/EventLoop.h"

#include <cstdio>
#include <cstring>
#include <utility>

#include <unistd.h>

namespace {

/// How often the child is looked at while no event comes.
constexpr EventTimerInterval kLookSeconds = 0.02;

constexpr SInt32 numberOf(InstallError error)
{
    return static_cast<SInt32>(error);
}

} // namespace

PackageRunner::PackageRunner(Programs programs)
    : m_programs(std::move(programs))
{
}

SInt32 PackageRunner::install(const std::string& package, const std::string& target)
{
    return run({"-pkg", package, "-target", target});
}

SInt32 PackageRunner::recover(const std::string& target)
{
    return run({"-recover", target});
}

SInt32 PackageRunner::run(const std::vector<std::string>& arguments)
{
    if (m_running)
        return numberOf(InstallError::targetBusy);
    m_running = true;
    SInt32 status = startDirectly(arguments);
    if (status == numberOf(InstallError::targetNotWritable) && m_programs.asksForRights)
        status = startThroughPkexec(arguments);
    m_running = false;
    return status;
}

SInt32 PackageRunner::startDirectly(const std::vector<std::string>& arguments)
{
    ChildRequest request;
    request.program = m_programs.installer;
    request.arguments = arguments;
    ChildProcess child;
    return start(request, child);
}

SInt32 PackageRunner::startThroughPkexec(const std::vector<std::string>& arguments)
{
    ChildProcess child;
    m_pkexec = &child;
    const SInt32 status
        = start(pkexecRequest(m_programs.pkexec, m_programs.privilegedInstaller, arguments), child);
    m_pkexec = nullptr;
    return status;
}

void PackageRunner::endQuestion()
{
    if (m_pkexec)
        m_pkexec->askToEnd();
}

SInt32 PackageRunner::start(const ChildRequest& request, ChildProcess& child)
{
    if (const int error = child.start(request); error != 0) {
        std::fprintf(stderr, "TandemService: %s cannot be started: %s\n", request.program.c_str(),
            std::strerror(error));
        return numberOf(InstallError::system);
    }
    while (!child.hasEnded())
        (void)ReceiveNextEvent(kLookSeconds); // the child's end is looked for either way
    const int status = child.status();
    return status == ChildProcess::kStatusUnknown ? numberOf(InstallError::system) : status;
}

PackageRunner::Programs carriedPrograms()
{
    PackageRunner::Programs programs;
    programs.installer = mainBundleFolder() + "/Contents/Linux/installer";
    programs.asksForRights = geteuid() != 0;
    return programs;
}
