#include "Platform/Carbon/Gestalt.h"

#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"

OSStatus Gestalt(OSType selector, SInt32* response)
{
    VELMORA_ASSERT(selector == gestaltSystemVersion && response);
    *response = kLayerSystemVersion;
    return noErr;
}
