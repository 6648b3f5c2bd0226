#include "Cocoa2CarbonLib/FSDeleteObjects.h"

#include "Cocoa2CarbonLib/FSFailure.h"
#include "Platform/Carbon/FSCatalog.h"
#include "Platform/Carbon/FSIterator.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cstdio>
#include <vector>

namespace {

constexpr UInt32 kPathBufferBytes = 1024;

/// What the levels of one folder's deletion share. Levels are a list of walks, not a chain of calls: the
/// stack stays as it is however deep the tree.
struct FSDeleteObjectGlobals {
    std::vector<FSIterator> levels; ///< the walks from the folder itself down to the innermost one at work
    bool opensToOwner = false;      ///< folders are opened to their owner before they are emptied
    bool entersChild = false;       ///< the child given last is a folder that is still to be emptied
    bool childIsEmptied = false;    ///< it was, and is now to be deleted
    OSStatus result = noErr;
};

OSStatus checkNoErr(OSStatus error, const char* call, const char* function, int line)
{
    return printFailure(error, {call, __FILE_NAME__, function, line});
}

/// Fetches the level's next child and unlocks it. An immutable folder keeps its children from being deleted,
/// so a folder is unlocked before it is emptied.
OSStatus nextChild(FSIterator iterator, bool& isFolder)
{
    UInt32 actual = 0;
    FSCatalogInfo info;
    const OSStatus error = FSGetCatalogInfoBulk(iterator, 1, &actual, &info);
    if (error != noErr)
        return error;
    const bool locked = (info.nodeFlags & kFSNodeLockedMask) != 0;
    const OSStatus unlockError = locked ? FSUnlockChild(iterator) : noErr;
    isFolder = unlockError == noErr && (info.nodeFlags & kFSNodeIsDirectoryMask) != 0;
    return unlockError;
}

/// Deletes the innermost level's children up to the next folder among them, which is entered first, or to the
/// end.
void deleteChildren(FSDeleteObjectGlobals* theGlobals)
{
    const FSIterator iterator = theGlobals->levels.back();
    while (theGlobals->result == noErr) {
        if (!theGlobals->childIsEmptied)
            theGlobals->result = nextChild(iterator, theGlobals->entersChild);
        if (theGlobals->entersChild)
            return;
        theGlobals->childIsEmptied = false;
        if (theGlobals->result == noErr)
            theGlobals->result = FSDeleteChild(iterator);
    }
    if (theGlobals->result == errFSNoMoreItems)
        theGlobals->result = noErr;
}

/// Opens the next level down: that of `folder` itself, or that of the child given last.
OSStatus enterFolder(const FSRef* folder, FSDeleteObjectGlobals* theGlobals)
{
    theGlobals->entersChild = false;
    std::vector<FSIterator>& levels = theGlobals->levels;
    FSIterator level = nullptr;
    // What cannot be opened this way shows when it is entered.
    if (theGlobals->opensToOwner)
        (void)(levels.empty() ? FSOpenToOwner(folder) : FSOpenChildToOwner(levels.back()));
    const OSStatus error
        = levels.empty() ? FSOpenIterator(folder, &level) : FSOpenChildIterator(levels.back(), &level);
    if (error == noErr)
        levels.push_back(level);
    return error;
}

/// Works on the innermost level until a folder in it has to be emptied first, or the level is done and
/// closed.
void FSDeleteFolderLevel(const FSRef* folder, FSDeleteObjectGlobals* theGlobals)
{
    if (theGlobals->entersChild || theGlobals->levels.empty()) {
        theGlobals->result = enterFolder(folder, theGlobals);
        if (checkNoErr(theGlobals->result, "theGlobals->result", __func__, __LINE__) != noErr)
            return;
    }
    deleteChildren(theGlobals);
    if (theGlobals->entersChild)
        return;
    const FSIterator iterator = theGlobals->levels.back();
    theGlobals->levels.pop_back();
    theGlobals->childIsEmptied = true;
    (void)checkNoErr(
        FSCloseIterator(iterator), "(FSCloseIterator(iterator))", __func__, __LINE__); // only told
    (void)checkNoErr(
        theGlobals->result, "theGlobals->result", __func__, __LINE__); // the levels above see it too
}

OSStatus FSDeleteFolder(const FSRef* folder, bool opensToOwner)
{
    FSDeleteObjectGlobals theGlobals;
    theGlobals.opensToOwner = opensToOwner;
    do
        FSDeleteFolderLevel(folder, &theGlobals);
    while (!theGlobals.levels.empty());
    return checkNoErr(theGlobals.result, "theGlobals.result", __func__, __LINE__);
}

/// Unlocks an object, empties it when it is a folder, and deletes it.
OSStatus deleteWhole(const FSRef* source, bool opensToOwner)
{
    FSCatalogInfo info;
    OSStatus err = FSGetCatalogInfo(source, &info, nullptr);
    if (err == noErr && (info.nodeFlags & kFSNodeLockedMask) != 0)
        err = FSUnlockObject(source);
    if (err == noErr && (info.nodeFlags & kFSNodeIsDirectoryMask) != 0)
        err = FSDeleteFolder(source, opensToOwner);
    return err == noErr ? FSDeleteObject(source) : err;
}

OSStatus deleteAndTell(const FSRef* source, bool opensToOwner)
{
    constexpr const char* kFunction = "FSDeleteObjects";
    if (!source)
        return paramErr;
    UInt8 path[kPathBufferBytes];
    const OSStatus pathError = FSRefMakePath(source, path, kPathBufferBytes);
    if (checkNoErr(pathError, "err", kFunction, __LINE__) == noErr)
        std::printf("\n%s -- Deleting %s\n", kFunction, reinterpret_cast<const char*>(path));
    (void)std::fflush(stdout); // a closed output must not stop a deletion
    return checkNoErr(deleteWhole(source, opensToOwner), "err", kFunction, __LINE__);
}

} // namespace

OSStatus FSDeleteObjects(const FSRef* source)
{
    return deleteAndTell(source, false);
}

OSStatus FSDeleteClosedObjects(const FSRef* source)
{
    return deleteAndTell(source, true);
}
