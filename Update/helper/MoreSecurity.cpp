#include "Update/helper/MoreSecurity.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/ErrorNumbers.h"
#include "Update/helper/CFQError.h"
#include "Update/helper/MoreUNIX.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr UInt32 kWorkFolderMode = 0700;
// A regular file, set-user-id, readable and executable by all, writable by none.
constexpr mode_t kInstalledToolMode = 0104555;
constexpr uid_t kRootUser = 0;

// A path as the file-system calls take it, terminating zero included.
struct ToolPath {
    UInt8 bytes[1024] = {};

    const char* c_str() const { return reinterpret_cast<const char*>(bytes); }
};

int pathOf(CFURLRef url, ToolPath& path)
{
    return CFQErrorBoolean(CFURLGetFileSystemRepresentation(url, true, path.bytes, sizeof(path.bytes)));
}

// The subfolder of `parent`; a symbolic link of its name is refused by the look-up, any other object that is
// no folder here.
int findSubFolder(const FSRef& parent, CFStringRef name, unsigned char createFolder, FSRef& subFolder)
{
    struct {
        UniChar unicode[255];
    } subFolderNameU;
    const CFIndex length = CFStringGetLength(name);
    VELMORA_ASSERT_TEXT(length <= CFIndex(sizeof(subFolderNameU.unicode) / sizeof(UniChar)),
        "CFStringGetLength(subFolderName) <= (sizeof(subFolderNameU.unicode) / sizeof(UniChar))");
    CFStringGetCharacters(name, CFRangeMake(0, length), subFolderNameU.unicode);
    const UInt32 units = static_cast<UInt32>(length);

    OSStatus err = FSMakeFSRefUnicode(&parent, units, subFolderNameU.unicode, &subFolder);
    if (err == fnfErr && createFolder)
        err = FSCreateDirectoryUnicode(&parent, units, subFolderNameU.unicode, kWorkFolderMode, &subFolder);
    if (err != noErr)
        return err;
    struct stat info { };
    if (lstat(subFolder.path.c_str(), &info) != 0)
        return errorFromErrno(errno);
    return S_ISDIR(info.st_mode) ? noErr : dirNFErr;
}

int removeTool(const char* path)
{
    if (unlink(path) == 0)
        return 0;
    const int err = errno;
    if (err != EPERM && err != EISDIR)
        return err;
    return rmdir(path) == 0 ? 0 : errno;
}

} // namespace

int MoreSecCopyHelperToolURL(FSDomain domain, FSFolderType folderType, CFStringRef subFolderName,
    CFStringRef toolName, unsigned char createFolder, CFURLRef* tool)
{
    VELMORA_ASSERT_TEXT(toolName != nullptr, "toolName != NULL");
    VELMORA_ASSERT_TEXT(tool != nullptr, "tool != NULL");
    VELMORA_ASSERT_TEXT(*tool == nullptr, "*tool == NULL");

    FSRef folder;
    int err = FSFindFolder(domain, folderType, createFolder ? kCreateFolder : kDontCreateFolder, &folder);
    if (err == noErr && subFolderName) {
        const FSRef parent = folder;
        err = findSubFolder(parent, subFolderName, createFolder, folder);
    }
    if (err == noErr) {
        const CFRef folderURL = adoptCF(CFURLCreateFromFSRef(kCFAllocatorDefault, &folder));
        if (folderURL)
            *tool = CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, folderURL, toolName, false);
        err = CFQError(*tool);
    }
    VELMORA_ASSERT_TEXT((err == noErr) == (*tool != nullptr), "(err == noErr) == (*tool != NULL)");
    return err;
}

int MoreSecCheckHelperTool(CFURLRef templateTool, CFURLRef tool, unsigned char* looksOK)
{
    VELMORA_ASSERT_TEXT(templateTool != nullptr, "templateTool != NULL");
    VELMORA_ASSERT_TEXT(tool != nullptr, "tool != NULL");
    VELMORA_ASSERT_TEXT(looksOK != nullptr, "looksOK != NULL");

    ToolPath templatePath;
    // A template without a path cannot be read below, and then no tool looks like it.
    (void)pathOf(templateTool, templatePath);
    ToolPath toolPath;
    const int err = pathOf(tool, toolPath);
    if (err != 0)
        return err;
    struct stat wanted { };
    struct stat found { };
    const bool wasRead = stat(templatePath.c_str(), &wanted) == 0 && stat(toolPath.c_str(), &found) == 0;
    *looksOK = wasRead && found.st_uid == kRootUser && found.st_mode == kInstalledToolMode
        && found.st_size == wanted.st_size && found.st_mtime == wanted.st_mtime;
    return 0;
}

int MoreSecCheckAndFixHelperTool(CFURLRef templateTool, CFURLRef tool)
{
    VELMORA_ASSERT_TEXT(templateTool != nullptr, "templateTool != NULL");
    VELMORA_ASSERT_TEXT(tool != nullptr, "tool != NULL");

    unsigned char looksOK = false;
    int err = MoreSecCheckHelperTool(templateTool, tool, &looksOK);
    if (err != 0 || looksOK)
        return err;
    ToolPath templatePath;
    ToolPath toolPath;
    err = pathOf(templateTool, templatePath);
    if (err == 0)
        err = pathOf(tool, toolPath);
    if (err != 0)
        return err;
    // lstat: a link that leads nowhere is in the way as well, and the copy must not be written through it.
    struct stat info { };
    if (lstat(toolPath.c_str(), &info) == 0) {
        err = removeTool(toolPath.c_str());
        if (err != 0)
            return err;
    }
    return MoreUNIXCopyFile(templatePath.c_str(), toolPath.c_str());
}
