// Finding applications through what the desktop knows about them.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/CoreFoundation/CFURL.h"

/// Applications are not looked for by their creator.
inline constexpr OSType kLSUnknownCreator = 0;

/// Finds the application with a bundle identifier: the bundle in whose Contents/Linux the program of the
/// desktop entry "<identifier>.desktop" lies. `creator` must be kLSUnknownCreator, `name` and `application`
/// null. Returns noErr, and the URL of the bundle's folder, which the caller owns; paramErr for a null
/// identifier or URL; otherwise kLSApplicationNotFoundErr, and null: also for an entry that is damaged,
/// hidden or has no program in a bundle.
OSStatus LSFindApplicationForInfo(
    OSType creator, CFStringRef identifier, CFStringRef name, FSRef* application, CFURLRef* applicationURL);
