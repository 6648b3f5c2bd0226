// The program TandemService.
#include "TandemService/Host.h"

int main(int argc, char** argv)
{
    return runHost(argc, argv);
}
