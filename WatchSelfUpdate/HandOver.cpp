#include "WatchSelfUpdate/HandOver.h"

#include "WatchSelfUpdate/Host.h"
#include "WatchSelfUpdate/MarkerFile.h"
#include "WatchSelfUpdate/ProcessSearch.h"

#include <cstdio>
#include <thread>

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Waits until the program, once seen, is gone; `appear` is how long it may remain unseen.
void waitUntilGone(
    const std::string& path, ProcessOwner owner, milliseconds look, milliseconds appear, milliseconds limit)
{
    const auto start = steady_clock::now();
    bool wasSeen = false;
    for (;;) {
        const bool runs = isProgramRunning(path, owner);
        const auto waited = steady_clock::now() - start;
        wasSeen = wasSeen || runs;
        const bool isOver = !runs && (wasSeen || waited >= appear);
        if (isOver || waited >= limit)
            return;
        std::this_thread::sleep_for(look);
    }
}

ExitStatus refusedBundle()
{
    std::fprintf(stderr, "WatchSelfUpdate: the marker names no bundle with a host in it\n");
    return ExitStatus::Refused;
}

} // namespace

ExitStatus handOver(const Session& session, const HandOverLimits& limits)
{
    Marker marker;
    const ExitStatus taken = takeMarker(marker);
    if (taken != ExitStatus::Ok)
        return taken;
    // An installer may run as root on the user's behalf; a host of root's is no business of this user's one.
    waitUntilGone(marker.runFile, ProcessOwner::CallingUserOrRoot, limits.look, limits.appear, limits.update);
    waitUntilGone(marker.hostBundle + kHostProgramInBundle, ProcessOwner::CallingUser, limits.look,
        milliseconds(0), limits.host);
    // Not before: an update that is under way may have taken the bundle aside.
    const std::string program = hostProgramOf(marker.hostBundle);
    return program.empty() ? refusedBundle() : startHost(program, session);
}
