// The helper tool that the bundle carries. It uses the standard library and POSIX only.
#include "WatchSelfUpdate/Tool.h"

int main(int argc, char** argv)
{
    return runTool(argc, argv, HandOverLimits());
}
