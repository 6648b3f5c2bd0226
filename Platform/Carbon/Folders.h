// The standard folders, and the look-up and making of folders by name.
#pragma once

#include "Platform/Carbon/FSRef.h"

/// The root that stands before every /Library path: $VELMORA_ROOT, by default empty. Without a trailing "/";
/// a relative one counts from the current folder.
std::string localDomainRoot();

enum FSDomain : SInt16 { kLocalDomain = -32765, kUserDomain = -32763 };
enum FSFolderType : OSType {
    kCachedDataFolderType = 0x63616368, ///< 'cach': in the user domain $XDG_CACHE_HOME, else ~/.cache
    kFrameworksFolderType = 0x6672616D, ///< 'fram': in the local domain <root>/Library/Frameworks
    kApplicationSupportFolderType
    = 0x61737570, ///< 'asup': in the local domain <root>/Library/Application Support
};
enum : Boolean { kDontCreateFolder = 0, kCreateFolder = 1 };

/// Finds a standard folder: of the user domain the caches folder, of the local domain the other two; another
/// pair is paramErr. A missing folder is made, with its parents, when `createFolder` is set (mode 0700 in the
/// user domain, 0755 in the local one, less the umask), otherwise it gives fnfErr. dirNFErr when it is no
/// folder. A relative $XDG_CACHE_HOME is ignored, as its standard asks (freedesktop.org, base directories
/// 0.8).
OSStatus FSFindFolder(FSDomain domain, FSFolderType folderType, Boolean createFolder, FSRef* folder);

/// The child named `name` of a folder: 1 to 255 units (a trailing zero unit is not part of the name) and at
/// most 255 bytes of UTF-8, otherwise errFSNameTooLong; no "/", zero unit or lone surrogate, not "." or "..",
/// otherwise bdNamErr. fnfErr when it does not exist. A symbolic link is not followed: it gives permErr.
/// errFSBadFSRef when another object has taken the folder's place since `parent` was made.
OSStatus FSMakeFSRefUnicode(const FSRef* parent, UInt32 nameLength, const UniChar* name, FSRef* child);
/// Makes that child as a folder with mode `mode`, less the umask; dupFNErr when something of the name exists.
OSStatus FSCreateDirectoryUnicode(
    const FSRef* parent, UInt32 nameLength, const UniChar* name, UInt32 mode, FSRef* newFolder);

/// Asks the system to put what was written to the file system of the user's caches folder on disk, and waits
/// for it (syncfs): other file systems are left alone. How long that takes depends on how much is unwritten
/// there; the system sets no limit. `volumeName` must be null and `volumeNumber` 0: the default volume.
/// FSFindFolder's error when there is no caches folder.
OSStatus FlushVol(const void* volumeName, SInt16 volumeNumber);
