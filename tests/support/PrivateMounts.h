// File systems that a test mounts in a forked child of its own: nobody else sees them, and they end with the
// child.
#pragma once

#include <filesystem>
#include <string>

namespace mounts {

/// What a child returns when it may not mount, for its parent to skip the test.
inline constexpr int kCannotMount = 3;

/// Gives the calling process mounts of its own; call it first, in a child. False where that is not allowed.
bool separate();
/// Mounts a new file system without storage ("tmpfs", "ramfs") with these options (or null).
bool mountNew(const std::filesystem::path& folder, const char* type, const char* options);
/// Shows `what`, a file or a folder, at `where` as well.
bool bind(const std::filesystem::path& what, const std::filesystem::path& where);

/// Why this machine cannot make and mount file systems of a type that needs storage; empty when it can.
std::string whyNoImage(const std::string& type);
/// Makes a file system of `megabytes` in the new file `image`, with further options for mkfs (or ""), and
/// mounts it.
bool mountImage(const std::filesystem::path& image, int megabytes, const std::string& type,
    const std::string& makeOptions, const std::filesystem::path& folder);

} // namespace mounts
