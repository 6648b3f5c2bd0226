// The folders that are being installed into, kept on disk, so that the next start finds an install that was
// interrupted.
#pragma once

#include <string>
#include <vector>

/// A file of zero-terminated paths, "com.velmora.tandemservice/InstallTargets" in the user's caches folder.
/// The list is a help: when it cannot be written, an interrupted install is still dealt with by the next
/// install on its target.
class InstallTargets {
public:
    /// More targets than this are not kept.
    static constexpr std::size_t kMaxTargets = 1000;

    void add(const std::string& target);
    void remove(const std::string& target);
    /// In the order in which they were added.
    std::vector<std::string> list() const;
};
