#include "Cocoa2CarbonLib/FSFailure.h"

#include "Platform/Support/ErrorNumbers.h"

#include <cstdio>

OSStatus printFailure(OSStatus error, const FSCallSite& site)
{
    if (error == noErr)
        return error;
    std::printf("%s != noErr in File: %s, Function: %s, Line: %d, Error: %d\n", site.call, site.file,
        site.function, site.line, error);
    (void)std::fflush(stdout); // a closed output must not stop the work
    return error;
}
