#include "TandemService/HostTexts.h"

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Lumen/LumResource.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr SInt32 kInstallSuccessText = 622;

} // namespace

std::u16string installSuccessText()
{
    const CFBundleRef bundle = CFBundleGetMainBundle();
    const CFRef name = adoptCF(CFStringCreateWithView(u"VelTanRes"));
    const CFRef type = adoptCF(CFStringCreateWithView(u"UI"));
    const CFRef url = bundle ? adoptCF(CFBundleCopyResourceURL(bundle, name, type, nullptr)) : nullptr;
    FSRef folder;
    PubLumen::LumFileManager files;
    PubLumen::LumDocument texts;
    if (!url || !CFURLGetFSRef(url, &folder) || !files.OpenFolder(folder)
        || !texts.Open(files, u"VelTanRes.aui"))
        return {};
    WideText text;
    texts.CopyItemText(kInstallSuccessText, text);
    return std::u16string(text.view());
}

std::string printableLine(std::u16string_view text)
{
    std::u16string line(text);
    const auto isControl = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
    std::replace_if(line.begin(), line.end(), isControl, u' ');
    return utf8FromWide(line);
}

void complain(const std::string& text)
{
    std::fprintf(stderr, "TandemService: %s\n", text.c_str());
}
