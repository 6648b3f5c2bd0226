#include "WatchSelfUpdate/Tool.h"

#include "WatchSelfUpdate/Hardening.h"
#include "WatchSelfUpdate/Privileges.h"
#include "WatchSelfUpdate/SelfRepair.h"

#include <cstdio>
#include <string_view>
#include <unistd.h>

namespace {

ExitStatus usage()
{
    std::fprintf(stderr, "usage: WatchSelfUpdate [--self-repair]\n");
    return ExitStatus::Usage;
}

ExitStatus notSecured()
{
    std::fprintf(stderr, "WatchSelfUpdate: the process could not be secured\n");
    return ExitStatus::SystemError;
}

ExitStatus dispatch(int argc, char** argv, const HandOverLimits& limits)
{
    const bool isHandOver = argc <= 1;
    // Before anything is read: what follows is done with the caller's rights, whatever it reads.
    const Privileges privileges = isHandOver ? dropPrivileges() : Privileges::Lent;
    if (privileges == Privileges::Remain)
        return notSecured();
    // A process with lent rights was started for an installed suite: no variable may lead it to another one.
    const Session session = noteSession(environ, privileges == Privileges::None);
    if (!hardenProcess())
        return notSecured();
    if (isHandOver)
        return handOver(session, limits);
    const std::string_view command = argv[1];
    return command == "--self-repair" && argc == 2 ? repairSelf() : usage();
}

} // namespace

int runTool(int argc, char** argv, const HandOverLimits& limits)
{
    return static_cast<int>(dispatch(argc, argv, limits));
}
