// Prints the identifier of its main bundle.
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/Support/Unicode.h"

#include <cstdio>

int main()
{
    const CFBundleRef bundle = CFBundleGetMainBundle();
    const std::string identifier
        = bundle ? utf8FromWide(CFStringGetView(CFBundleGetIdentifier(bundle))) : "(none)";
    std::puts(identifier.c_str());
    return 0;
}
