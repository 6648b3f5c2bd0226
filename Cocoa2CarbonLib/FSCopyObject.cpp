#include "Cocoa2CarbonLib/FSCopyObject.h"

#include "Cocoa2CarbonLib/FSCopyTree.h"
#include "Cocoa2CarbonLib/FSDeleteObjects.h"
#include "Cocoa2CarbonLib/FSFailure.h"
#include "Platform/Carbon/FSItemChanges.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <utility>

namespace {

constexpr const char* kFunction = "FSCopyObject";
constexpr UInt32 kBytesPerKilobyte = 1024;

OSStatus checkNoErr(OSStatus error, const char* call, const char* function, int line)
{
    return printFailure(error, {call, __FILE_NAME__, function, line});
}

const char* yesNo(bool value)
{
    return value ? "yes" : "no";
}

const char* nameOfAction(int dupeAction)
{
    if (dupeAction == kDupeActionReplace)
        return "replace";
    return dupeAction == kDupeActionRename ? "rename" : "standard";
}

/// A pointer's value, to be printed in full: eight digits are its least here, not its most.
template <typename Pointer> std::uintptr_t valueOf(Pointer pointer)
{
    return reinterpret_cast<std::uintptr_t>(pointer);
}

void printRequest(OSStatus err, const FSCopyRequest& request, int dupeAction)
{
    std::printf("%s -- err: %d, maxLevels: %u, whichInfo: %08x,\n", kFunction, err, request.maxLevels,
        request.whichInfo);
    std::printf("\t\t\t\tdupeAction: %s, wantSpec: %s, wantName: %s,\n", nameOfAction(dupeAction),
        yesNo(request.wantFSSpec), yesNo(request.wantName));
    std::printf("\t\t\t\tfilterProcPtr: 0x%08" PRIxPTR ", yourDataPtr: 0x%08" PRIxPTR ",\n",
        valueOf(request.filterProc), valueOf(request.yourData));
}

void printPlan(const FSCopyPlan& plan, const FSRef* newObjectRef, const FSSpec* newObjectSpec)
{
    std::printf("\t\t\t\tnewObjectRef: 0x%08" PRIxPTR ", newObjectSpec: 0x%08" PRIxPTR ",\n",
        valueOf(newObjectRef), valueOf(newObjectSpec));
    std::printf("\t\t\t\tcopyBufferSize: %ukB, isDirectory: %s, isLocal: %s,\n",
        plan.copyBufferBytes / kBytesPerKilobyte, yesNo(plan.isDirectory), yesNo(plan.isLocal));
    std::printf("\t\t\t\tisDropBox: %s, PBHCopyFileSync supported: %s\n\n", yesNo(plan.isDropBox),
        yesNo(plan.hasVolumeCopy));
    (void)std::fflush(stdout); // a closed output must not stop a copy
}

/// The reference to an item in the destination, which may have been moved since it was opened.
FSRef refInDestination(const FSCopyPlan& plan, const ItemInfo& info, const std::string& name)
{
    return refToItem(info, currentPath(plan.destFolder.get(), plan.destPath), name);
}

/// Takes away what a failed copy made, and gives the object that was to be replaced its name back.
void cleanUp(OSStatus err, const FSCopyPlan& plan, const FSTreeCopy& copy)
{
    if (plan.replaces) {
        std::printf("%s -- Cleaning up, this might take a moment.  err : %d\n", kFunction, err);
        (void)std::fflush(stdout); // a closed output must not stop the cleaning
    }
    if (copy.hasMade()) {
        const FSRef partial = refInDestination(plan, copy.made(), plan.newName);
        // Prints its failure; the copy's own error is the one to return.
        (void)FSDeleteClosedObjects(&partial);
    }
    if (plan.replaces) {
        const OSStatus backErr = renameItem(plan.destFolder.get(), plan.asideName, plan.newName);
        (void)checkNoErr(backErr, "err", __func__, __LINE__); // as above
    }
}

/// Copies by the plan, whose new name is free now.
OSStatus copyAndCleanUp(const FSCopyPlan& plan, const FSCopyRequest& request, FSRef& made)
{
    FSTreeCopy copy(plan, request);
    const OSStatus err = copy.run();
    if (err == noErr)
        made = refInDestination(plan, copy.made(), plan.newName);
    else
        cleanUp(err, plan, copy);
    return err;
}

/// Puts the object that is to be replaced aside, unless the copy would come to lie inside its source.
OSStatus makeRoom(const FSCopyPlan& plan)
{
    const OSStatus err = plan.isDirectory ? CheckForDestInsideSrc(plan) : noErr;
    return err == noErr && plan.replaces ? renameItem(plan.destFolder.get(), plan.newName, plan.asideName)
                                         : err;
}

} // namespace

OSStatus FSCopyObject(const FSRef* source, const FSRef* destDir, UInt32 maxLevels,
    FSCatalogInfoBitmap whichInfo, int dupeAction, const HFSUniStr255* newName, bool wantFSSpec,
    bool wantName, CopyObjectFilterProcPtr filterProc, void* yourData, FSRef* newObjectRef,
    FSSpec* newObjectSpec)
{
    if (!source || !destDir)
        return paramErr;
    const FSCopyRequest request {maxLevels, whichInfo, wantFSSpec, wantName, filterProc, yourData};
    FSCopyPlan plan;
    OSStatus err = preflight(*source, *destDir, dupeAction, newName, plan);
    printRequest(err, request, dupeAction);
    printPlan(plan, newObjectRef, newObjectSpec);
    if (err == noErr)
        err = makeRoom(plan);
    FSRef made;
    if (err == noErr)
        err = copyAndCleanUp(plan, request, made);
    if (checkNoErr(err, "err", __func__, __LINE__) != noErr)
        return err;
    if (newObjectRef)
        *newObjectRef = made;
    if (newObjectSpec)
        *newObjectSpec = made;
    if (!plan.replaces)
        return noErr;
    const FSRef replaced = refInDestination(plan, plan.existing, plan.asideName);
    return checkNoErr(FSDeleteClosedObjects(&replaced), "err", __func__, __LINE__);
}
