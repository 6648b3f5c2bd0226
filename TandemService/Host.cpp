#include "TandemService/Host.h"

#include "TandemService/CommandLine.h"
#include "TandemService/Display.h"
#include "TandemService/HostTexts.h"
#include "TandemService/Paths.h"
#include "TandemService/PluginLoader.h"
#include "TandemService/Relaunch.h"
#include "TandemService/Resident.h"
#include "TandemService/StopSignals.h"
#include "TandemService/UpdateRun.h"
#include "TandemService/package/StandardDescriptors.h"

#include <QApplication>

#include <csignal>
#include <cstdio>

namespace {

/// What the one who starts the host may leave closed or limited ends as a failed write, never as a sudden
/// end.
void prepareProcess()
{
    openMissingStandardDescriptors();
    for (const int number : {SIGPIPE, SIGXFSZ})
        (void)std::signal(number, SIG_IGN); // cannot fail for these
}

/// Runs one of the two sorts of host to its end; it is gone, its port closed and its plug-in unloaded, before
/// another program is started.
template <typename Sort>
ExitStatus runSort(const HostOptions& options, const std::string& plugin, std::string& programToStart)
{
    Sort host(options, plugin);
    const StopSignals signalsAreEvents([&host] { host.stop(); });
    const ExitStatus status = host.run();
    programToStart = host.programToStart();
    return status;
}

ExitStatus run(const HostOptions& options, const DisplayChoice& display)
{
    if (options.mode != HostMode::check && !options.unattended && !display.canShowWindows()) {
        complain("there is no display for the windows; use --check, or --update --unattended");
        return ExitStatus::couldNotRun;
    }
    if (mainBundleFolder().empty()) {
        complain("this program does not lie in its application bundle");
        return ExitStatus::couldNotRun;
    }
    const std::string plugin = options.plugin.empty() ? carriedPluginFolder() : options.plugin;
    std::string programToStart;
    const ExitStatus status = options.mode == HostMode::resident
        ? runSort<Resident>(options, plugin, programToStart)
        : runSort<UpdateRun>(options, plugin, programToStart);
    if (!programToStart.empty() && !startDetached(programToStart))
        complain("cannot start " + programToStart);
    return status;
}

} // namespace

int runHost(int& argc, char** argv)
{
    prepareProcess();
    std::string error;
    const auto options = parseCommandLine(std::vector<std::string>(argv + 1, argv + argc), error);
    if (!options) {
        complain(error);
        std::fputs(kUsageText, stderr);
        return static_cast<int>(ExitStatus::couldNotRun);
    }
    if (options->mode == HostMode::help) {
        std::fputs(kUsageText, stdout);
        return static_cast<int>(ExitStatus::done);
    }
    const DisplayChoice display(*options);
    int onlyName = 1; // the arguments are the host's own, not the toolkit's
    const QApplication application(onlyName, argv);
    QApplication::setApplicationDisplayName(QStringLiteral("Velmora Tandem"));
    display.leaveEnvironment();
    DisplayChoice::quietenOffscreen();
    return static_cast<int>(run(*options, display));
}
