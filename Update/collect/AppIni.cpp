// Reads any installed bundle.
#include "Update/collect/AppIni.h"

CAppIni::CAppIni()
    : CPListParse(kAppIniKind)
{
}

int CAppIni::Parse(CFURLRef bundle)
{
    const CFRef info = bundle ? adoptCF(CFBundleCopyInfoDictionaryInDirectory(bundle)) : nullptr;
    if (!info)
        return 0;
    m_bundleURL = retainCF(bundle);
    const auto valueFor = [&info](std::u16string_view key) { return CFDictionaryGetValue(info, key); };
    const std::u16string_view executable = textOr(valueFor(kCFBundleExecutableKey), u"");
    m_productName.assign(textOr(valueFor(kCFBundleNameKey), executable));
    readSharedKeys(valueFor);
    Validate();
    return 1;
}
