#include "TandemService/HostServices.h"

#include "TandemService/Relaunch.h"
#include "TandemService/package/Installer.h"

#include <cstdio>
#include <filesystem>

namespace {

constexpr SInt32 kRefused = -1;

} // namespace

HostServices::HostServices(PackageRunner::Programs programs, Listener listener)
    : m_runner(std::move(programs))
    , m_listener(std::move(listener))
{
}

SInt32 HostServices::installPackage(const std::string& package, const std::string& target)
{
    // The installer has another working folder than the one who asks may think.
    if (!package.starts_with('/') || !target.starts_with('/'))
        return static_cast<SInt32>(InstallError::usage);
    if (m_runner.isRunning())
        return static_cast<SInt32>(InstallError::targetBusy);
    m_targets.add(target);
    const SInt32 status = m_runner.install(package, target);
    if (!hasInterruptedInstall(target))
        m_targets.remove(target);
    return status;
}

SInt32 HostServices::relaunch(const std::string& bundle)
{
    std::string program = programOfBundle(bundle);
    if (program.empty()) {
        std::fprintf(stderr, "TandemService: cannot start again from \"%s\"\n", bundle.c_str());
        return kRefused;
    }
    m_programToStart = std::move(program);
    m_listener.relaunchAsked();
    return 0;
}

SInt32 HostServices::updateEnded(const std::string&)
{
    m_listener.updateEnded();
    return 0;
}

void HostServices::recoverInstalls(const std::string& ownBundle)
{
    recover(ownBundle);
    recover(std::filesystem::path(ownBundle).parent_path().string());
    for (const std::string& target : m_targets.list()) {
        recover(target);
        if (!hasInterruptedInstall(target))
            m_targets.remove(target);
    }
}

void HostServices::recover(const std::string& target)
{
    if (!hasInterruptedInstall(target))
        return;
    const SInt32 status = m_runner.recover(target);
    // A busy target is being installed into, by another host of this user.
    if (status != 0 && status != static_cast<SInt32>(InstallError::targetBusy))
        std::fprintf(stderr, "TandemService: the interrupted install in \"%s\" stays as it is (%d)\n",
            target.c_str(), status);
}
