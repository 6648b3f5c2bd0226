// The list of what an install swaps, kept on disk while it does, so that the next start can put back or
// complete it.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// One entry of the target folder that is replaced or added.
struct SwapEntry {
    std::string name;
    bool replaces = false; ///< an older entry of that name is set aside

    friend bool operator==(const SwapEntry&, const SwapEntry&) = default;
};

using SwapList = std::vector<SwapEntry>;

/// While this file stands in the staging folder, the swap is under way and is put back.
inline constexpr const char* kJournalName = "journal";
/// The journal's name once everything is in place: only tidying up is left.
inline constexpr const char* kCommittedName = "committed";

/// Writes the journal in one go: it is there as a whole, and on disk, or not at all. False with errno set.
bool writeJournal(int stagingFolder, const SwapList& entries);
/// Reads it back. False when it cannot be read, is damaged or names what no install swaps.
bool readJournal(int stagingFolder, SwapList& entries);
/// Marks the swap as complete; on disk when it returns. False with errno set.
bool commitJournal(int stagingFolder);
