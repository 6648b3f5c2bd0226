// Items: files, folders and links by their bytes, reached by name from their open folder and never through a
// link.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Platform/Support/Descriptor.h"

#include <string>
#include <vector>

/// A name of at most 255 units, as older interfaces take it. Not zero-terminated.
struct HFSUniStr255 {
    UInt16 length = 0;
    UniChar unicode[255] = {};
};

enum class ItemKind : UInt8 {
    kFile,
    kFolder,
    kLink,  ///< a symbolic link
    kOther, ///< a device, a pipe or a socket
};

struct ItemTime {
    SInt64 seconds = 0; ///< since 1970
    UInt32 nanoseconds = 0;
};

struct ItemInfo {
    ItemKind kind = ItemKind::kOther;
    UInt64 device = 0;
    UInt64 inode = 0;
    UInt16 nodeFlags = 0; ///< kFSNode... masks
    UInt32 mode = 0;      ///< the twelve permission bits
    UInt32 owner = 0;
    UInt32 group = 0;
    UInt32 links = 0;          ///< how many names the object has
    bool isMountPoint = false; ///< something is mounted there; false also where the kernel does not tell
    ItemTime accessed;
    ItemTime modified;
};

/// Where an object stands.
struct ItemPlace {
    Descriptor folder; ///< the one that holds it, open for look-ups only
    std::string folderPath;
    std::string name;
};

/// True when both tell of the same object, by device and inode.
bool isSameItem(const ItemInfo& a, const ItemInfo& b);
/// The reference to the item `name` in the folder at `folderPath`.
FSRef refToItem(const ItemInfo& info, const std::string& folderPath, const std::string& name);

/// Opens the folder that `ref` was made of, for look-ups only: it need not be readable. errFSBadFSRef when
/// another object has taken its place since.
OSStatus openFolderOfRef(const FSRef& ref, Descriptor& folder);
/// Opens the folder that holds the object. paramErr for the root folder and for a path that ends in "..".
OSStatus openPlaceOfRef(const FSRef& ref, ItemPlace& place);

/// The path of an open folder: `formerPath` while that leads to it, otherwise where it was moved to.
std::string currentPath(int folder, const std::string& formerPath);

/// Describes the item `name` of an open folder, or an open item.
OSStatus itemInfo(int folder, const std::string& name, ItemInfo& info);
OSStatus openItemInfo(int item, ItemInfo& info);
/// Opens a file or folder for reading and describes it. notAFileErr for another kind, errFSBadFSRef when the
/// name changes its object meanwhile, fBsyErr for a file that a program has a lease on and must give up
/// first.
OSStatus openItem(int folder, const std::string& name, Descriptor& item, ItemInfo& info);
/// The target of a symbolic link. errFSBadFSRef when the name is no link (any more).
OSStatus linkTarget(int folder, const std::string& name, std::string& target);
/// Opens the folder above the open `folder` for reading. errFSBadFSRef when it is not `expected`.
OSStatus openFolderAbove(int folder, const ItemInfo& expected, Descriptor& above);
/// Tells whether the open `folder` is `container` or lies anywhere inside it.
OSStatus folderLiesInside(int folder, const ItemInfo& container, bool& inside);
/// The names of a folder's children, in no particular order. The folder must be open for reading.
OSStatus childNames(int folder, std::vector<std::string>& names);
/// True when this user may write into the open folder and search it, but not read it.
bool isDropBoxFolder(int folder);

/// The name's bytes. bdNamErr for an empty one, ".", "..", and what holds "/", a zero or a lone surrogate;
/// errFSNameTooLong for more than 255 units or bytes.
OSStatus itemNameFromUnicode(const HFSUniStr255& unicode, std::string& name);
/// The name in UTF-16; bytes that are no UTF-8 become U+FFFD.
HFSUniStr255 unicodeFromItemName(const std::string& name);
