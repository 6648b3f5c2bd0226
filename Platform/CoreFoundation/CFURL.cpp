// Locations: file URLs and web URLs.
#include "Platform/CoreFoundation/CFURL.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/CoreFoundation/CFURLEscapes.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"

#include <cstring>
#include <filesystem>
#include <limits>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

struct __CFURL final : CFObject {
    explicit __CFURL(CFRef<CFStringRef> text)
        : CFObject(kCFRuntimeURL)
        , m_text(std::move(text))
    {
    }
    bool isEqual(const CFObject& other) const override
    {
        return CFEqual(m_text.get(), static_cast<const __CFURL&>(other).m_text.get());
    }

    const CFRef<CFStringRef> m_text;
};

namespace {

constexpr std::u16string_view kFileScheme = u"file:";
constexpr std::u16string_view kLocalHost = u"localhost";

/// The escaped path of a file URL on this machine, or nothing.
std::optional<std::u16string_view> escapedFilePath(std::u16string_view text)
{
    if (!equalIgnoringCase(text.substr(0, kFileScheme.size()), kFileScheme))
        return std::nullopt;
    text.remove_prefix(kFileScheme.size());
    if (text.starts_with(u"//")) {
        text.remove_prefix(2);
        const std::u16string_view host = text.substr(0, text.find(u'/'));
        if (!host.empty() && !equalIgnoringCase(host, kLocalHost))
            return std::nullopt;
        text.remove_prefix(host.size());
    }
    text = text.substr(0, text.find_first_of(u"?#"));
    return text.starts_with(u'/') ? std::optional(text) : std::nullopt;
}

/// The bytes of a file URL's path as they are written, or nothing when it is no file URL or holds a zero
/// byte.
std::optional<std::string> filePath(CFURLRef url)
{
    const std::optional<std::u16string_view> escaped = escapedFilePath(CFStringGetView(url->m_text));
    if (!escaped)
        return std::nullopt;
    std::optional<std::string> path = resolvePercentEscapes(utf8FromWide(*escaped));
    if (!path || path->find('\0') != std::string::npos)
        return std::nullopt;
    return path;
}

std::string withoutTrailingSlashes(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

CFURLRef urlFromText(std::u16string_view text)
{
    return new __CFURL(adoptCF(CFStringCreateWithView(text)));
}

/// `path` is absolute.
CFURLRef urlFromPath(std::string path, bool isDirectory)
{
    path = withoutTrailingSlashes(std::move(path));
    if (isDirectory && path.back() != '/')
        path += '/';
    return urlFromText(wideFromUtf8("file://" + escapePath(path)));
}

CFURLRef urlFromPathBytes(std::string path, bool isDirectory)
{
    if (path.empty() || path.find('\0') != std::string::npos)
        return nullptr;
    if (path.front() != '/') {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::current_path(error);
        if (error)
            return nullptr;
        path = (folder / path).string();
    }
    return urlFromPath(std::move(path), isDirectory);
}

} // namespace

CFURLRef CFURLCreateWithString(CFAllocatorRef, CFStringRef text, CFURLRef base)
{
    VELMORA_ASSERT(base == nullptr);
    const std::u16string_view view = CFStringGetView(text);
    return view.empty() || !isUrlText(view) ? nullptr : urlFromText(view);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(
    CFAllocatorRef, const UInt8* bytes, CFIndex length, Boolean isDirectory)
{
    if (!bytes || length <= 0)
        return nullptr;
    const char* characters = reinterpret_cast<const char*>(bytes);
    return urlFromPathBytes(std::string(characters, static_cast<std::size_t>(length)), isDirectory != 0);
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef, const FSRef* ref)
{
    VELMORA_ASSERT(ref != nullptr);
    std::error_code error;
    const bool isDirectory = std::filesystem::is_directory(ref->path, error);
    return error ? nullptr : urlFromPathBytes(ref->path, isDirectory);
}

bool CFURLGetFSRef(CFURLRef url, FSRef* ref)
{
    VELMORA_ASSERT(ref != nullptr);
    const std::optional<std::string> path = filePath(url);
    if (!path)
        return false;
    return FSPathMakeRef(reinterpret_cast<const UInt8*>(path->c_str()), ref, nullptr) == noErr;
}

CFStringRef CFURLGetString(CFURLRef url)
{
    return url->m_text;
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef url, CFURLPathStyle style)
{
    VELMORA_ASSERT(style == kCFURLPOSIXPathStyle);
    const std::optional<std::string> path = filePath(url);
    if (!path || !isValidUtf8(*path))
        return nullptr;
    return CFStringCreateWithView(wideFromUtf8(withoutTrailingSlashes(*path)));
}

bool CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex size)
{
    if (!buffer || size <= 0)
        return false;
    std::optional<std::string> path = filePath(url);
    if (!path)
        return false;
    const std::string bare = withoutTrailingSlashes(std::move(*path));
    if (bare.size() >= static_cast<std::size_t>(size))
        return false;
    std::memcpy(buffer, bare.c_str(), bare.size() + 1);
    return true;
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef, CFURLRef url)
{
    const std::optional<std::string> path = filePath(url);
    if (!path)
        return nullptr;
    const std::string bare = withoutTrailingSlashes(*path);
    return urlFromPath(bare.substr(0, bare.rfind('/') + 1), true);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(
    CFAllocatorRef, CFURLRef url, CFStringRef component, Boolean isDirectory)
{
    std::optional<std::string> path = filePath(url);
    if (!path)
        return nullptr;
    if (CFStringGetLength(component) == 0)
        return urlFromPath(std::move(*path), true);
    std::string name;
    if (!pathFromWide(CFStringGetView(component), name, std::numeric_limits<CFIndex>::max()))
        return nullptr;
    std::string folder = withoutTrailingSlashes(std::move(*path));
    if (folder.back() != '/')
        folder += '/';
    return urlFromPath(folder + name, isDirectory != 0);
}
