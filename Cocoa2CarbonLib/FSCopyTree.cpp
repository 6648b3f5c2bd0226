#include "Cocoa2CarbonLib/FSCopyTree.h"

#include "Platform/Carbon/FSItemChanges.h"
#include "Platform/Support/ErrorNumbers.h"

#include <utility>

namespace {

constexpr std::size_t kMaxOpenFolders = 16;

} // namespace

OSStatus FSTreeCopy::run()
{
    const ItemPlace& from = m_plan.sourcePlace;
    OSStatus error = m_buffer.allocate(m_plan.copyBufferBytes);
    if (error == noErr)
        error = copyItem(
            {from.folder.get(), from.name, m_plan.destFolder.get(), m_plan.newName, from.folderPath, 0});
    while (error == noErr && !m_levels.empty())
        error = step();
    return error;
}

/// Copies the innermost level's next child, or ends the level.
OSStatus FSTreeCopy::step()
{
    Level& level = m_levels.back();
    if (level.names.empty())
        return leaveFolder();
    const std::string name = std::move(level.names.back());
    level.names.pop_back();
    return copyItem(
        {level.source.get(), name, level.dest.get(), name, level.path, static_cast<UInt32>(m_levels.size())});
}

OSStatus FSTreeCopy::copyItem(const Place& place)
{
    Found found;
    int answer = kFSCopyThisItem;
    const OSStatus error = findItem(place, answer, found);
    if (error == fnfErr && place.level > 0)
        return noErr; // gone since the names were read
    if (error != noErr || answer == kFSSkipItem)
        return error;
    switch (found.info.kind) {
    case ItemKind::kLink:
        return copyLink(place, found);
    case ItemKind::kFile:
        return copyFile(place, found);
    case ItemKind::kFolder:
        return enterFolder(place, std::move(found));
    case ItemKind::kOther:
        break;
    }
    return notAFileErr;
}

/// Looks at a place, asks the filter procedure, and opens what is to be copied, before anything is made of
/// it.
OSStatus FSTreeCopy::findItem(const Place& place, int& answer, Found& found) const
{
    OSStatus error = itemInfo(place.folder, place.name, found.info);
    if (error == noErr)
        error = askFilter(place, found.info, answer);
    if (error != noErr || answer == kFSSkipItem)
        return error;
    const ItemKind kind = found.info.kind;
    if (kind == ItemKind::kLink)
        return linkTarget(place.folder, place.name, found.target);
    error = openItem(place.folder, place.name, found.item, found.info);
    return error == noErr && found.info.kind != kind ? errFSBadFSRef : error;
}

OSStatus FSTreeCopy::askFilter(const Place& place, const ItemInfo& info, int& answer) const
{
    if (!m_request.filterProc)
        return noErr;
    const FSCatalogInfo catalogInfo {info.nodeFlags};
    const FSSpec spec = m_request.wantFSSpec ? refToItem(info, place.folderPath, place.name) : FSSpec();
    const HFSUniStr255 name = m_request.wantName ? unicodeFromItemName(place.name) : HFSUniStr255();
    answer = m_request.filterProc(place.level, m_request.whichInfo ? &catalogInfo : nullptr,
        m_request.wantFSSpec ? &spec : nullptr, m_request.wantName ? &name : nullptr, m_request.yourData);
    const bool leavesNothing = answer == kFSSkipItem && place.level == 0;
    const bool isKnown = answer == kFSCopyThisItem || answer == kFSSkipItem;
    return leavesNothing || !isKnown ? userCanceledErr : noErr;
}

OSStatus FSTreeCopy::noteMade(const Place& place, int item)
{
    if (place.level != 0)
        return noErr;
    const OSStatus error
        = item < 0 ? itemInfo(place.destFolder, place.newName, m_made) : openItemInfo(item, m_made);
    m_hasMade = error == noErr;
    return error;
}

OSStatus FSTreeCopy::copyLink(const Place& place, const Found& link)
{
    const OSStatus error = createLinkItem(place.destFolder, place.newName, link.target, link.info);
    return error == noErr ? noteMade(place, -1) : error;
}

OSStatus FSTreeCopy::copyFile(const Place& place, const Found& file)
{
    Descriptor dest;
    OSStatus error = createFileItem(place.destFolder, place.newName, dest);
    if (error == noErr)
        error = noteMade(place, dest.get());
    if (error == noErr)
        error = m_plan.isDropBox ? CopyForksToDropBox(file.item.get(), dest.get(), m_buffer)
                                 : CopyForks(file.item.get(), dest.get(), m_plan.hasVolumeCopy, m_buffer);
    if (error == noErr)
        error = finish(dest.get(), file.info);
    return error == noErr ? closeItem(dest) : error;
}

/// Refuses a folder that is no part of the tree, and one that the copy itself lies in: what is mounted hides
/// that from the look at the folders above, and folders may be moved meanwhile.
OSStatus FSTreeCopy::checkFolder(const Place& place, const ItemInfo& info) const
{
    if (place.level > 0 && info.isMountPoint)
        return fBsyErr;
    const bool leadsToCopy = isSameItem(info, m_plan.dest) || (m_hasMade && isSameItem(info, m_made));
    return leadsToCopy ? badMovErr : noErr;
}

/// Makes the folder and reads which children are to come. Modes and times follow when it is left.
OSStatus FSTreeCopy::enterFolder(const Place& place, Found&& folder)
{
    OSStatus error = checkFolder(place, folder.info);
    Level level;
    level.source = std::move(folder.item);
    level.sourceInfo = folder.info;
    if (error == noErr)
        error = makeLevel(place, level);
    const bool goesDeeper = m_request.maxLevels == 0 || place.level < m_request.maxLevels;
    if (error == noErr && goesDeeper)
        error = childNames(level.source.get(), level.names);
    if (error != noErr)
        return error;
    if (m_request.wantFSSpec)
        level.path = refToItem(level.sourceInfo, place.folderPath, place.name).path;
    m_levels.push_back(std::move(level));
    closeFarLevel();
    return noErr;
}

OSStatus FSTreeCopy::makeLevel(const Place& place, Level& level)
{
    OSStatus error = createFolderItem(place.destFolder, place.newName, level.dest);
    if (error == noErr)
        error = noteMade(place, level.dest.get());
    return error == noErr ? openItemInfo(level.dest.get(), level.destInfo) : error;
}

/// Lets the level that lies kMaxOpenFolders above the innermost one give its descriptors back.
void FSTreeCopy::closeFarLevel()
{
    if (m_levels.size() <= kMaxOpenFolders)
        return;
    Level& farAbove = m_levels[m_levels.size() - 1 - kMaxOpenFolders];
    farAbove.source.reset();
    farAbove.dest.reset();
}

OSStatus FSTreeCopy::reopenLevelAbove()
{
    if (m_levels.size() < 2)
        return noErr;
    const Level& level = m_levels.back();
    Level& above = m_levels[m_levels.size() - 2];
    if (above.source)
        return noErr;
    const OSStatus error = openFolderAbove(level.source.get(), above.sourceInfo, above.source);
    return error == noErr ? openFolderAbove(level.dest.get(), above.destInfo, above.dest) : error;
}

/// Finishes the innermost folder. The one above is opened first: the mode that the folder gets may close the
/// way.
OSStatus FSTreeCopy::leaveFolder()
{
    OSStatus error = reopenLevelAbove();
    const Level& level = m_levels.back();
    if (error == noErr)
        error = CopyForks(level.source.get(), level.dest.get(), false, m_buffer);
    if (error == noErr)
        error = finish(level.dest.get(), level.sourceInfo);
    m_levels.pop_back();
    return error;
}

OSStatus FSTreeCopy::finish(int item, const ItemInfo& info)
{
    const OSStatus error = finishItem(item, info);
    // What a copy replaces is deleted afterwards: until the copy is stored, a power cut would take both.
    return error == noErr && m_plan.replaces ? flushItem(item) : error;
}
