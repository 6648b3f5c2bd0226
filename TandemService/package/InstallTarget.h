// The target folder of an install: resolved once, locked, and known by its descriptor from then on.
#pragma once

#include "TandemService/package/InstallResult.h"
#include "Platform/Support/Descriptor.h"

#include <string>

/// Where a staging folder may lie: beside the target, or within it where the folder above cannot be used.
struct StagingPlace {
    int parent = -1; ///< borrowed from the target; -1 when there is no such place
    std::string name;
};

class InstallTarget {
public:
    /// Opens and locks the folder at `path`; symbolic links in the path are resolved now. The lock goes with
    /// the object, or with the process.
    InstallResult open(const std::string& path);

    int folder() const { return m_folder.get(); }
    const std::string& path() const { return m_path; }

    /// `.NAME.velmora-install` in the folder above; no parent for "/" and for names that leave no room for
    /// it.
    StagingPlace placeBeside() const;
    /// `.velmora-install` in the target itself.
    StagingPlace placeWithin() const;
    /// The place for a new install: beside the target when the folder above is on the same file system and
    /// this user may write there, otherwise within it.
    StagingPlace placeForInstall() const;
    /// True when this user may add and remove entries in the target.
    bool writable() const;

private:
    Descriptor m_folder;
    Descriptor m_above;
    std::string m_path;
    std::string m_name;
};

/// The name of a staging folder within its target; no payload may hold it.
inline constexpr const char* kStagingNameWithin = ".velmora-install";
