// The starter with a template of the test's: "TEMPLATE TOOL --self-repair".
#include "SelfRepairStarter/Starter.h"

int main(int argc, char** argv)
{
    return argc > 1 ? runStarter(argc - 1, argv + 1, argv[1]) : 1;
}
