// The tool with waits that a test can sit through.
#include "WatchSelfUpdate/Tool.h"

int main(int argc, char** argv)
{
    HandOverLimits limits;
    limits.look = std::chrono::milliseconds(5);
    limits.appear = std::chrono::milliseconds(20);
    limits.update = std::chrono::milliseconds(2500);
    limits.host = std::chrono::milliseconds(1500);
    return runTool(argc, argv, limits);
}
