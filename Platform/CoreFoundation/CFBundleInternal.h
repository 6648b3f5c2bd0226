// What a bundle holds. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

/// The path of a file URL; nothing when it is none.
std::optional<std::string> filePathOf(CFURLRef url);

/// A folder by device and inode.
struct FolderIdentity {
    dev_t device;
    ino_t inode;

    bool operator==(const FolderIdentity&) const = default;
};

struct __CFBundle final : CFObject {
    __CFBundle(CFURLRef url, CFRef<CFDictionaryRef> info, std::string folder, FolderIdentity identity);
    ~__CFBundle() override;

    /// The text for `key` in the Info.plist; null when there is none or it is no string. Kept by the bundle.
    CFStringRef textFor(std::u16string_view key) const;
    /// The path of Contents/PLACE/NAME, or nothing when `name` is no single path component or nothing is
    /// there.
    std::optional<std::string> existing(std::string_view place, std::u16string_view name) const;

    const CFRef<CFURLRef> m_url;
    const CFRef<CFDictionaryRef> m_info;
    const std::string m_folder;
    const FolderIdentity m_identity;
    void* m_module = nullptr; ///< what dlopen gave, or null
};
