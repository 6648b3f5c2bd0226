// Prints the identifier of its main bundle.
#include "Platform/CoreFoundation/CFBundle.h"

#include <cstdio>

int main()
{
    const CFBundleRef bundle = CFBundleGetMainBundle();
    char identifier[256] = "(none)";
    if (bundle
        && !CFStringGetCString(
            CFBundleGetIdentifier(bundle), identifier, sizeof identifier, kCFStringEncodingUTF8))
        return 1;
    std::puts(identifier);
    return 0;
}
