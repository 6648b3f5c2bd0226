#include "Update/descriptor/ExpandedFolders.h"

#include "Platform/Carbon/FSCatalog.h"
#include "Platform/Carbon/FSIterator.h"
#include "Platform/Support/ErrorNumbers.h"

#include <algorithm>
#include <array>

namespace {

constexpr UInt32 kEntriesAtATime = 5;

/// Counts a folder's entries. errFSNoMoreItems when all were counted.
OSStatus countEntries(FSIterator iterator, SInt64& entries)
{
    entries = 0;
    OSStatus error = noErr;
    while (error == noErr) {
        std::array<FSCatalogInfo, kEntriesAtATime> infos;
        UInt32 actual = 0;
        error = FSGetCatalogInfoBulk(iterator, kEntriesAtATime, &actual, infos.data());
        entries += actual; // the last ones come together with errFSNoMoreItems
    }
    return error;
}

} // namespace

std::vector<tagFSRefCount> countArchivesByFolder(const std::vector<FSRef>& archives)
{
    std::vector<tagFSRefCount> folders;
    for (const FSRef& archive : archives) {
        FSRef folder;
        if (FSGetCatalogInfo(&archive, nullptr, &folder) != noErr)
            continue;
        const auto known
            = std::find_if(folders.begin(), folders.end(), [&folder](const tagFSRefCount& other) {
                  return FSCompareFSRefs(&other.folder, &folder) == noErr;
              });
        if (known == folders.end())
            folders.push_back({folder, 1});
        else
            ++known->count;
    }
    return folders;
}

bool holdExpandedItems(const std::vector<tagFSRefCount>& folders)
{
    bool verdict = false;
    for (const tagFSRefCount& folder : folders) {
        FSIterator iterator = nullptr;
        if (FSOpenIterator(&folder.folder, &iterator) == noErr) {
            SInt64 entries = 0;
            if (countEntries(iterator, entries) == errFSNoMoreItems)
                verdict = entries >= SInt64 {2} * folder.count;
            (void)FSCloseIterator(iterator); // nothing was changed
        }
        if (!verdict)
            return false;
    }
    return true;
}
