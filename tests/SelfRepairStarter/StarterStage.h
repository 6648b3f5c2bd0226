// The starter's surroundings: a template that root alone can change, and a user's folder with a copy of it.
#pragma once

#include "tests/support/TempDir.h"

#include <string>
#include <vector>

#include <sys/stat.h>
#include <sys/types.h>

struct StarterRun {
    int status = -1; ///< the exit status, or -1 when a signal ended it
    std::string errorText;
};

class StarterStage {
public:
    static constexpr uid_t kUser = 1000;
    static constexpr int kNotStarted = 112;

    StarterStage();

    std::filesystem::path templateTool() const { return m_installed.at("bundle/WatchSelfUpdate"); }
    std::filesystem::path tool() const { return m_home.at("WatchSelfUpdate"); }
    /// The user's folder, which holds the tool.
    const ScopedTempDir& home() const { return m_home; }
    const ScopedTempDir& installed() const { return m_installed; }
    /// Puts bytes at a place below the user's folder, as the user's file.
    void writeOwned(const std::filesystem::path& file, const std::string& bytes) const;
    /// Runs the starter as root for the user, on the tool.
    StarterRun run() const { return run(tool().string(), std::to_string(kUser)); }
    /// The same for another tool and another $PKEXEC_UID.
    StarterRun run(const std::string& tool, const std::string& caller) const;
    /// The same with any words, any $PKEXEC_UID (null: none) and as any user.
    StarterRun runWith(std::vector<std::string> words, const char* caller, uid_t user = 0) const;
    struct stat infoOf(const std::filesystem::path& file) const;
    /// Whether no foreign program ran, and everything in the user's folder that is root's holds the
    /// template's bytes.
    void expectNothingForeign() const;

private:
    std::string m_genuine;
    ScopedTempDir m_installed;
    ScopedTempDir m_home;
    ScopedTempDir m_output;
};
