// The staging folder of one install, and what is left of an interrupted one.
#pragma once

#include "TandemService/package/EntrySwap.h"
#include "TandemService/package/InstallTarget.h"

/// Holds `new` (unpacked contents), `old` (entries set aside) and the journal.
class Staging {
public:
    /// Makes the folder, with mode 0700, at `place`.
    InstallResult create(const InstallTarget& target, const StagingPlace& place);
    /// Opens what an earlier install left at `place`; it must be a folder of this user or of the target's
    /// owner.
    InstallResult openLeft(const InstallTarget& target, const StagingPlace& place);
    /// Removes it with everything in it; false when something is left, which the next install on the target
    /// removes.
    bool remove();

    int folder() const { return m_folder.get(); }
    SwapFolders swapFolders() const { return {m_target, m_fresh.get(), m_old.get()}; }

private:
    StagingPlace m_place;
    int m_target = -1;
    Descriptor m_folder;
    Descriptor m_fresh;
    Descriptor m_old;
};

/// Deals with an interrupted install on a locked target, wherever its staging folder lies: one that had not
/// begun to swap is removed, one within the swap is put back, one that was complete is tidied up.
InstallResult recoverTarget(const InstallTarget& target, const InstallOptions& options);
