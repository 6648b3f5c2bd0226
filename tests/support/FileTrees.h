// Builders of the file trees that deletions and walks are tried on, and a look at what is left of one.
#pragma once

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

namespace trees {

/// Sets or clears a file's immutable flag. False where the file system or the user does not allow it.
bool setImmutable(const std::filesystem::path& path, bool immutable);
/// The same for the append-only flag.
bool setAppendOnly(const std::filesystem::path& path, bool appendOnly);

/// Makes `depth` folders named `name`, each in the one before, the first one in `folder`; paths may pass
/// PATH_MAX. Returns the path of the last one, which is too long to be used then. Ends the process when that
/// fails.
std::string makeChain(const std::filesystem::path& folder, int depth, std::string_view name);

/// Makes `count` empty files "file0", "file1" and so on. Ends the process when that fails.
void makeFiles(const std::filesystem::path& folder, int count);

/// True when something is at the path, a link itself included.
bool exists(const std::filesystem::path& path);

/// The names of a folder's children.
std::set<std::string> names(const std::filesystem::path& folder);

} // namespace trees
