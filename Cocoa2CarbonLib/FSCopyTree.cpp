#include "Cocoa2CarbonLib/FSCopyTree.h"

#include "Platform/Carbon/FSItemChanges.h"
#include "Platform/Support/ErrorNumbers.h"

#include <utility>

namespace {

constexpr std::size_t kMaxOpenFolders = 16;

} // namespace

OSStatus FSTreeCopy::run()
{
    OSStatus error = m_buffer.allocate(m_plan.copyBufferBytes);
    if (error == noErr)
        error = copyItem({m_plan.sourceFolder.get(), m_plan.sourceName, m_plan.destFolder.get(),
            m_plan.newName, m_plan.sourceFolderPath, 0});
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
    ItemInfo info;
    OSStatus error = itemInfo(place.folder, place.name, info);
    if (error == fnfErr && place.level > 0)
        return noErr; // gone since the names were read
    int answer = kFSCopyThisItem;
    if (error == noErr)
        error = askFilter(place, info, answer);
    if (error != noErr || answer == kFSSkipItem)
        return error;
    switch (info.kind) {
    case ItemKind::kLink:
        return copyLink(place);
    case ItemKind::kFile:
        return copyFile(place);
    case ItemKind::kFolder:
        return enterFolder(place);
    case ItemKind::kOther:
        break;
    }
    return notAFileErr;
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

OSStatus FSTreeCopy::copyLink(const Place& place)
{
    const OSStatus error = copyLinkItem(place.folder, place.name, place.destFolder, place.newName);
    return error == noErr ? noteMade(place, -1) : error;
}

OSStatus FSTreeCopy::copyFile(const Place& place)
{
    Descriptor source;
    Descriptor dest;
    ItemInfo info;
    OSStatus error = openItem(place.folder, place.name, source, info);
    if (error == noErr && info.kind != ItemKind::kFile)
        error = errFSBadFSRef;
    if (error == noErr)
        error = createFileItem(place.destFolder, place.newName, dest);
    if (error == noErr)
        error = noteMade(place, dest.get());
    if (error == noErr)
        error = m_plan.isDropBox ? CopyForksToDropBox(source.get(), dest.get(), m_buffer)
                                 : CopyForks(source.get(), dest.get(), m_plan.hasVolumeCopy, m_buffer);
    if (error == noErr)
        error = finish(dest.get(), info);
    return error == noErr ? closeItem(dest) : error;
}

/// Makes the folder and reads which children are to come. Modes and times follow when it is left.
OSStatus FSTreeCopy::enterFolder(const Place& place)
{
    Level level;
    OSStatus error = openItem(place.folder, place.name, level.source, level.sourceInfo);
    if (error == noErr && level.sourceInfo.kind != ItemKind::kFolder)
        error = errFSBadFSRef;
    // What is mounted on a folder does not belong to the tree.
    if (error == noErr && level.sourceInfo.device != m_plan.source.device)
        error = fBsyErr;
    if (error == noErr && m_hasMade && isSameItem(level.sourceInfo, m_made))
        error = badMovErr; // moved into the source meanwhile
    if (error == noErr)
        error = createFolderItem(place.destFolder, place.newName, level.dest);
    if (error == noErr)
        error = noteMade(place, level.dest.get());
    if (error == noErr)
        error = openItemInfo(level.dest.get(), level.destInfo);
    const bool goesDeeper = m_request.maxLevels == 0 || place.level < m_request.maxLevels;
    if (error == noErr && goesDeeper)
        error = childNames(level.source.get(), level.names);
    if (error != noErr)
        return error;
    if (m_request.wantFSSpec)
        level.path = place.folderPath + "/" + place.name;
    m_levels.push_back(std::move(level));
    if (m_levels.size() > kMaxOpenFolders) {
        Level& farAbove = m_levels[m_levels.size() - 1 - kMaxOpenFolders];
        farAbove.source.reset();
        farAbove.dest.reset();
    }
    return noErr;
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
