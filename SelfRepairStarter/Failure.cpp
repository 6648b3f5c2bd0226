#include "SelfRepairStarter/Failure.h"

#include <cstdio>

bool notStarted(const char* reason)
{
    std::fprintf(stderr, "SelfRepairStarter: %s\n", reason);
    return false;
}
