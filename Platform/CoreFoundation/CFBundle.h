// Bundles: folders with Contents/Info.plist, programs in Contents/Linux, resources in Contents/Resources.
#pragma once

#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFURL.h"

using CFBundleRef = struct __CFBundle*;

inline constexpr std::u16string_view kCFBundleIdentifierKey = u"CFBundleIdentifier";
inline constexpr std::u16string_view kCFBundleExecutableKey = u"CFBundleExecutable";
inline constexpr std::u16string_view kCFBundleNameKey = u"CFBundleName";
inline constexpr std::u16string_view kCFBundleVersionKey = u"CFBundleVersion";

/// The bundle of the running program: the nearest folder above the program's own file that ends in ".app" and
/// holds Contents/Info.plist. Null when there is none. Kept by the layer, as it was when first asked for.
CFBundleRef CFBundleGetMainBundle();
/// Names the main bundle of a program that does not lie in one, such as a test; null forgets it again.
void CFBundleSetMainBundle(CFURLRef bundleFolder);
/// A bundle with that identifier among those that this process has created and not released, the main bundle
/// included; null when there is none. Kept by its owners.
CFBundleRef CFBundleGetBundleWithIdentifier(CFStringRef identifier);
/// The bundle at a folder, its Info.plist read. One object per folder: a second call gives the same bundle
/// with one more reference. Null when there is no readable Info.plist.
CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef bundleFolder);

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle);
/// Null when the Info.plist names none, or one that is no string. Kept by the bundle.
CFStringRef CFBundleGetIdentifier(CFBundleRef bundle);
/// The value for `key` in the Info.plist, of whatever type it is there, or null. Kept by the bundle.
CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, std::u16string_view key);
/// The Info.plist dictionary of the bundle at a folder, or null when there is none, it cannot be read or is
/// no dictionary.
CFDictionaryRef CFBundleCopyInfoDictionaryInDirectory(CFURLRef bundleFolder);

/// Contents/Resources, or null when it does not exist.
CFURLRef CFBundleCopyResourcesDirectoryURL(CFBundleRef bundle);
/// Contents/Resources/NAME.TYPE (or NAME for a null type), or null when it does not exist or is no single
/// path component. `subFolder` must be null.
CFURLRef CFBundleCopyResourceURL(
    CFBundleRef bundle, CFStringRef name, CFStringRef type, CFStringRef subFolder);
/// The same for the bundle at a folder, whose Info.plist is not read.
CFURLRef CFBundleCopyResourceURLInDirectory(
    CFURLRef bundleFolder, CFStringRef name, CFStringRef type, CFStringRef subFolder);
/// Contents/Linux/NAME, or null when it does not exist or is no single path component.
CFURLRef CFBundleCopyAuxiliaryExecutableURL(CFBundleRef bundle, CFStringRef name);

/// Loads Contents/Linux/<CFBundleExecutable> as a module; true also when it is loaded already. False, with
/// the reason on standard error, when it cannot be loaded. Releasing the bundle does not unload it.
bool CFBundleLoadExecutable(CFBundleRef bundle);
/// Unloads what CFBundleLoadExecutable loaded; its static objects are destroyed.
void CFBundleUnloadExecutable(CFBundleRef bundle);
/// The address of an exported function of a loaded bundle, or null.
void* CFBundleGetFunctionPointerForName(CFBundleRef bundle, const char* functionName);
