#include "Cocoa2CarbonLib/FSCopyPreflight.h"

#include "Cocoa2CarbonLib/FSCopyBuffer.h"
#include "Cocoa2CarbonLib/FSUniqueName.h"
#include "Platform/Carbon/FSVolume.h"
#include "Platform/Support/ErrorNumbers.h"

namespace {

constexpr const char* kAsideSuffix = ".DeleteMe";

OSStatus lookAtSource(const FSRef& ref, FSCopyPlan& plan)
{
    OSStatus error = openPlaceOfRef(ref, plan.sourcePlace);
    if (error == noErr)
        error = itemInfo(plan.sourcePlace.folder.get(), plan.sourcePlace.name, plan.source);
    if (error != noErr)
        return error;
    const bool isSame = plan.source.device == ref.device && plan.source.inode == ref.inode;
    if (!isSame && plan.source.kind != ItemKind::kLink)
        return errFSBadFSRef;
    plan.isDirectory = plan.source.kind == ItemKind::kFolder;
    return plan.source.kind == ItemKind::kOther ? notAFileErr : noErr;
}

/// Subvolumes have devices of their own, but share the blocks of one volume. Which volume that is does not
/// show: between two that have subvolumes the call is tried, and the buffer used when it cannot.
bool mayCopyWithinVolume(const FSCopyPlan& plan, const VolumeParms& destParms)
{
    if (plan.source.device == plan.dest.device)
        return true;
    VolumeParms sourceParms;
    return destParms.hasSubvolumes && volumeParms(plan.sourcePlace.folder.get(), sourceParms) == noErr
        && sourceParms.hasSubvolumes;
}

OSStatus lookAtDestination(const FSRef& destDir, FSCopyPlan& plan)
{
    VolumeParms parms;
    plan.destPath = destDir.path;
    OSStatus error = openFolderOfRef(destDir, plan.destFolder);
    if (error == noErr)
        error = openItemInfo(plan.destFolder.get(), plan.dest);
    if (error == noErr)
        error = volumeParms(plan.destFolder.get(), parms);
    if (error != noErr)
        return error;
    plan.isLocal = parms.isLocal;
    plan.isDropBox = isDropBoxFolder(plan.destFolder.get());
    plan.hasVolumeCopy = mayCopyWithinVolume(plan, parms);
    plan.copyBufferBytes = copyBufferBytes(parms.blockBytes, parms.volumeGrade);
    return noErr;
}

/// Tells whether the existing object is the source itself, under the same name, or holds it. Another name of
/// the source's file may go.
OSStatus holdsSource(const FSCopyPlan& plan, bool& holds)
{
    holds = isSameItem(plan.existing, plan.source);
    if (plan.existing.kind == ItemKind::kFolder)
        return holds ? noErr : folderLiesInside(plan.sourcePlace.folder.get(), plan.existing, holds);
    // With one name alone it is the source however that is written: a volume may know no case, and what is
    // mounted may show a file at two places.
    if (!holds || plan.existing.links == 1)
        return noErr;
    ItemInfo from;
    const OSStatus error = openItemInfo(plan.sourcePlace.folder.get(), from);
    holds = isSameItem(from, plan.dest) && plan.newName == plan.sourcePlace.name;
    return error;
}

OSStatus planReplacement(FSCopyPlan& plan)
{
    bool holds = false;
    const OSStatus error = holdsSource(plan, holds);
    if (error != noErr || holds)
        return holds ? fBsyErr : error;
    plan.asideName = plan.newName + kAsideSuffix;
    plan.replaces = true;
    return noErr;
}

OSStatus resolveClash(int dupeAction, FSCopyPlan& plan)
{
    const OSStatus error = itemInfo(plan.destFolder.get(), plan.newName, plan.existing);
    if (error != noErr)
        return error == fnfErr ? noErr : error;
    if (dupeAction == kDupeActionReplace)
        return planReplacement(plan);
    if (dupeAction != kDupeActionRename)
        return dupFNErr;
    const std::string taken = plan.newName;
    return GetUniqueName(plan.destFolder.get(), taken, plan.newName);
}

} // namespace

OSStatus preflight(
    const FSRef& source, const FSRef& destDir, int dupeAction, const HFSUniStr255* newName, FSCopyPlan& plan)
{
    OSStatus error = lookAtSource(source, plan);
    const OSStatus destError
        = lookAtDestination(destDir, plan); // is printed also when the source is the trouble
    if (error == noErr)
        error = destError;
    plan.newName = plan.sourcePlace.name;
    if (error == noErr && newName)
        error = itemNameFromUnicode(*newName, plan.newName);
    return error == noErr ? resolveClash(dupeAction, plan) : error;
}

OSStatus CheckForDestInsideSrc(const FSCopyPlan& plan)
{
    bool inside = false;
    const OSStatus error = folderLiesInside(plan.destFolder.get(), plan.source, inside);
    return inside ? badMovErr : error;
}
