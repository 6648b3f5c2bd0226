// Swaps the entries of a target folder by renaming, and puts them back.
#pragma once

#include "TandemService/package/InstallOptions.h"
#include "TandemService/package/InstallResult.h"
#include "TandemService/package/Journal.h"

/// The folders of one swap, borrowed: the target, the new contents, and the place where old entries wait.
struct SwapFolders {
    int target = -1;
    int fresh = -1;
    int old = -1;
};

/// The top-level entries of the new contents, each replacing the target's entry of that name as a whole.
InstallResult listSwap(const SwapFolders& folders, std::size_t maxEntries, SwapList& entries);

/// Sets the old entries aside and puts the new ones in. On an error the target is half swapped: put it back.
InstallResult swapEntries(const SwapFolders& folders, const SwapList& entries, const InstallOptions& options);

/// Brings the target back to what it was, from whatever point the swap had reached; doing it twice changes
/// nothing more.
InstallResult putEntriesBack(
    const SwapFolders& folders, const SwapList& entries, const InstallOptions& options);
