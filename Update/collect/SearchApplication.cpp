#include "Update/collect/SearchApplication.h"

#include "Platform/Carbon/Folders.h"
#include "Platform/Carbon/LaunchServices.h"
#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFPropertyList.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Platform/Support/Unicode.h"
#include "Update/collect/DataFilePath.h"

#include <cstring>
#include <string>

namespace {

/// How many of the four values must be the same.
constexpr int kFoundScore = 3;

CFStringRef textOrNull(CFTypeRef value)
{
    return value && CFGetTypeID(value) == CFStringGetTypeID() ? static_cast<CFStringRef>(value) : nullptr;
}

/// The path of the product's saved information; empty when there can be none.
std::string savedInfoPath(std::u16string_view firstPart, std::u16string_view secondPart)
{
    UInt8 folder[kDataFilePathBytes] = {};
    const auto* const folderName = reinterpret_cast<const UInt8*>("Product Infos");
    std::u16string name(firstPart);
    name.append(secondPart).append(u".plist");
    std::string fileName;
    // The parts are data: they name a file in this folder and none elsewhere.
    if (!pathFromWide(name, fileName) || fileName.find('/') != std::string::npos
        || GetDataFilePathAtAppSupportFloder(kLocalDomain, folder, folderName) == 0)
        return "";
    return std::string(reinterpret_cast<const char*>(folder)) + '/' + fileName;
}

/// The dictionary in a property list's file; null when there is none.
CFRef<CFDictionaryRef> readDictionary(const std::string& path)
{
    const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), false));
    const CFRef list = adoptCF(url ? CFPropertyListCreateFromFile(url) : nullptr);
    const bool isDictionary = list && CFGetTypeID(list) == CFDictionaryGetTypeID();
    return retainCF(isDictionary ? static_cast<CFDictionaryRef>(list.get()) : nullptr);
}

int scoreOf(CFStringRef saved, CFStringRef found)
{
    return saved && found && CFStringCompare(saved, found, kCFCompareCaseInsensitive) == kCFCompareEqualTo;
}

int similarity(CFDictionaryRef saved, CFBundleRef found)
{
    int score = scoreOf(
        textOrNull(CFDictionaryGetValue(saved, kCFBundleIdentifierKey)), CFBundleGetIdentifier(found));
    for (const std::u16string_view key : {kCFBundleExecutableKey, kCFBundleVersionKey, kCFBundleNameKey})
        score += scoreOf(textOrNull(CFDictionaryGetValue(saved, key)),
            textOrNull(CFBundleGetValueForInfoDictionaryKey(found, key)));
    return score;
}

} // namespace

bool SearchApplicationExistMacDatabase(
    const UniChar* firstPart, const UniChar* secondPart, char* path, int pathSize)
{
    if (!firstPart || !secondPart)
        return false;
    const std::string file = savedInfoPath(firstPart, secondPart);
    const CFRef saved = file.empty() ? CFRef<CFDictionaryRef>() : readDictionary(file);
    if (!saved)
        return false;
    CFURLRef foundURL = nullptr;
    const OSStatus error = LSFindApplicationForInfo(kLSUnknownCreator,
        textOrNull(CFDictionaryGetValue(saved, kCFBundleIdentifierKey)), nullptr, nullptr, &foundURL);
    const CFRef url = adoptCF(foundURL);
    if (error != noErr || !url)
        return false;
    const CFRef bundle = adoptCF(CFBundleCreate(kCFAllocatorDefault, url));
    if (!bundle || similarity(saved, bundle) < kFoundScore)
        return false;
    return !path || CFURLGetFileSystemRepresentation(url, true, reinterpret_cast<UInt8*>(path), pathSize);
}
