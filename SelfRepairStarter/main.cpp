// The program that pkexec runs for the helper tool's repair.
#include "SelfRepairStarter/Starter.h"

int main(int argc, char** argv)
{
    // A fixed place: nothing in the environment may move it.
    return runStarter(argc, argv,
        "/Library/Application Support/Velmora/Tandem "
        "Service/TandemService.app/Contents/PlugIns/Update.bundle/"
        "Contents/Linux/WatchSelfUpdate");
}
