// A bundle's code: loading it, finding its functions, unloading it.
#include "Platform/CoreFoundation/CFBundleInternal.h"
#include "Platform/Support/Assertion.h"

#include <cstdio>
#include <dlfcn.h>
#include <string>

namespace {

bool refuse(const std::string& folder, const char* reason)
{
    std::fprintf(stderr, "%s: %s\n", folder.c_str(), reason);
    return false;
}

} // namespace

bool CFBundleLoadExecutable(CFBundleRef bundle)
{
    if (bundle->m_module)
        return true;
    const CFStringRef name = bundle->textFor(kCFBundleExecutableKey);
    if (!name)
        return refuse(bundle->m_folder, "the Info.plist names no executable");
    const std::optional<std::string> path = bundle->existing("Linux", CFStringGetView(name));
    if (!path)
        return refuse(bundle->m_folder, "the executable that the Info.plist names is not there");
    bundle->m_module = ::dlopen(path->c_str(), RTLD_NOW | RTLD_LOCAL);
    if (bundle->m_module)
        return true;
    const char* reason = ::dlerror();
    return refuse(bundle->m_folder, reason ? reason : "the executable cannot be loaded");
}

void CFBundleUnloadExecutable(CFBundleRef bundle)
{
    if (!bundle->m_module)
        return;
    if (::dlclose(bundle->m_module) != 0)
        (void)refuse(bundle->m_folder, "the executable cannot be unloaded");
    bundle->m_module = nullptr;
}

void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, const char* functionName)
{
    VELMORA_ASSERT(functionName != nullptr);
    return bundle->m_module ? ::dlsym(bundle->m_module, functionName) : nullptr;
}
