#include "TandemService/package/StandardDescriptors.h"

#include "Platform/Support/Descriptor.h"

#include <fcntl.h>
#include <unistd.h>

void openMissingStandardDescriptors()
{
    while (true) { // ends: each opening takes the lowest free number
        Descriptor null(open("/dev/null", O_RDWR));
        if (!null || null.get() > STDERR_FILENO)
            return;
        (void)null.release(); // stays open as long as the program
    }
}
