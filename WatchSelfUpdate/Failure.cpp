#include "WatchSelfUpdate/Failure.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

ExitStatus failed(const char* call)
{
    std::fprintf(stderr, "WatchSelfUpdate: %s: %s\n", call, std::strerror(errno));
    return ExitStatus::SystemError;
}
