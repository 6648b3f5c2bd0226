// The working directory of a test program, for a while.
#pragma once

#include <filesystem>

/// Makes a folder the working directory as long as it lives.
class ScopedWorkingDirectory {
public:
    explicit ScopedWorkingDirectory(const std::filesystem::path& folder)
        : m_former(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder);
    }
    ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
    ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;
    ~ScopedWorkingDirectory() { std::filesystem::current_path(m_former); }

private:
    std::filesystem::path m_former;
};
