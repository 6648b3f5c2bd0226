// The tool with waits that a test can sit through. By the name "PatientTool" it waits long for an update's
// program to be seen.
#include "WatchSelfUpdate/Tool.h"

#include <string_view>

int main(int argc, char** argv)
{
    HandOverLimits limits;
    limits.look = std::chrono::milliseconds(5);
    limits.appear = std::chrono::milliseconds(20);
    limits.update = std::chrono::milliseconds(2500);
    limits.host = std::chrono::milliseconds(1500);
    if (argc > 0 && std::string_view(argv[0]).ends_with("/PatientTool")) {
        limits.appear = std::chrono::seconds(20);
        limits.update = std::chrono::seconds(30);
    }
    return runTool(argc, argv, limits);
}
