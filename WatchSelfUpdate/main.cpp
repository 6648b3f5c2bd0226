// The helper tool that the bundle carries: one command line, one job. It uses the standard library and POSIX
// only.
#include "WatchSelfUpdate/ExitStatus.h"
#include "WatchSelfUpdate/Hardening.h"
#include "WatchSelfUpdate/SelfRepair.h"

#include <cstdio>
#include <string_view>

namespace {

ExitStatus usage()
{
    std::fprintf(stderr, "usage: WatchSelfUpdate --self-repair\n");
    return ExitStatus::Usage;
}

ExitStatus dispatch(int argc, char** argv)
{
    const std::string_view command = argc > 1 ? argv[1] : "";
    if (command == "--self-repair" && argc == 2)
        return repairSelf();
    return usage();
}

} // namespace

int main(int argc, char** argv)
{
    if (!hardenProcess()) {
        std::fprintf(stderr, "WatchSelfUpdate: the process could not be secured\n");
        return static_cast<int>(ExitStatus::SystemError);
    }
    return static_cast<int>(dispatch(argc, argv));
}
