#include "Update/helper/CFQError.h"

#include "Platform/CoreFoundation/CFBase.h"
#include "Platform/Support/ErrorNumbers.h"

int CFQErrorBoolean(unsigned char ok)
{
    return ok ? noErr : coreFoundationUnknownErr;
}

int CFQError(const void* object)
{
    return CFQErrorBoolean(object != nullptr);
}

void CFQRelease(const void* object)
{
    if (object)
        CFRelease(object);
}
