// A scratch folder for one test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

/// A new, empty folder below the system's temporary folder, removed with all it holds when it goes.
class ScopedTempDir {
public:
    ScopedTempDir();
    ScopedTempDir(const ScopedTempDir&) = delete;
    ScopedTempDir& operator=(const ScopedTempDir&) = delete;
    ~ScopedTempDir();

    /// Absolute, without symbolic links, without a trailing "/".
    const std::filesystem::path& path() const { return m_path; }
    /// The path of something in the folder; `name` may hold "/".
    std::filesystem::path at(std::string_view name) const { return m_path / name; }
    /// Writes a file, with the folders that it needs, and returns its path. Ends the process when that fails.
    std::filesystem::path write(std::string_view name, std::string_view bytes) const;
    /// Makes a folder, with those above it, and returns its path. Ends the process when that fails.
    std::filesystem::path makeFolder(std::string_view name) const;

private:
    std::filesystem::path m_path;
};

/// The bytes of a file, or an empty text when it cannot be read.
std::string readWholeFile(const std::filesystem::path& file);
