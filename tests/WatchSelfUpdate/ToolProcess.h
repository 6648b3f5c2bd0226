// The helper tool as a process: a copy of the built tool, and what a run of it gives.
#pragma once

#include "tests/support/TempDir.h"

#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

struct ToolRun {
    int status = -1; ///< the exit status, or -1 when a signal ended it
    std::string errorText;
};

/// A copy of the tool in a folder that every user can enter, owned by the user 1000 when the tests run as
/// root.
class ToolCopy {
public:
    explicit ToolCopy(const char* program = WATCH_SELF_UPDATE_TOOL);

    const std::filesystem::path& path() const { return m_tool; }
    const ScopedTempDir& folder() const { return m_folder; }
    struct stat info() const;
    /// Runs the copy, as the current user or, where `user` is given, as that one.
    ToolRun run(const std::vector<std::string>& arguments, uid_t user = kCurrentUser) const;
    /// The same with another name for the program.
    ToolRun runAs(const std::string& program, const std::vector<std::string>& arguments, uid_t user) const;

    static constexpr uid_t kCurrentUser = static_cast<uid_t>(-1);
    static constexpr uid_t kOrdinaryUser = 1000;

private:
    ScopedTempDir m_folder;
    std::filesystem::path m_tool;
};
