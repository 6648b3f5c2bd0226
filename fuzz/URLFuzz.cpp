// Download addresses: any text gives a URL that stays as it is when it is normalised again, or none.
#include "Platform/CoreFoundation/CFString.h"
#include "Update/download/UrlRules.h"
#include "fuzz/FuzzSupport.h"

#include <algorithm>

namespace {

void lookAtFileURL(CFURLRef url)
{
    UInt8 path[1024];
    if (CFURLGetFileSystemRepresentation(url, true, path, sizeof path))
        fuzz::require(std::find(std::begin(path), std::end(path), 0) != std::end(path), "a path has an end");
    const CFRef parent = adoptCF(CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url));
    const CFRef name = adoptCF(CFStringCreateWithView(u"x y"));
    if (parent)
        (void)adoptCF(CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, parent, name, false));
}

void normalise(std::u16string_view text)
{
    const CFRef url = createDownloadURL(text);
    if (!url)
        return;
    const std::u16string_view once = CFStringGetView(CFURLGetString(url));
    fuzz::require(
        std::all_of(once.begin(), once.end(), [](char16_t unit) { return unit > u' ' && unit < 0x7F; }),
        "a URL is printable ASCII");
    const CFRef again = createDownloadURL(once);
    fuzz::require(
        again && CFStringGetView(CFURLGetString(again)) == once, "normalising twice changes nothing");
    lookAtFileURL(url);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const std::string_view text = fuzz::asText(bytes, size);
    normalise(fuzz::units(text));
    normalise(std::u16string(bytes, bytes + size));
    const CFRef plain = adoptCF(CFStringCreateWithView(std::u16string(bytes, bytes + size)));
    const CFRef url = adoptCF(CFURLCreateWithString(kCFAllocatorDefault, plain, nullptr));
    if (url)
        lookAtFileURL(url);
    return 0;
}
