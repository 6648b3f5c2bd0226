// A hand-over's surroundings: a copy of the tool in a folder of the caller's, and a bundle whose host tells
// that it was started, and how.
#pragma once

#include "tests/WatchSelfUpdate/ToolProcess.h"

#include <filesystem>
#include <string>

class HandOverStage {
public:
    HandOverStage();
    HandOverStage(const HandOverStage&) = delete;
    HandOverStage& operator=(const HandOverStage&) = delete;
    ~HandOverStage();

    const ToolCopy& tool() const { return m_tool; }
    /// A folder that everybody may enter and write to.
    const ScopedTempDir& folder() const { return m_folder; }
    const std::filesystem::path& bundle() const { return m_bundle; }
    std::filesystem::path hostProgram() const { return m_bundle / "Contents/Linux/TandemService"; }
    std::filesystem::path marker() const { return m_tool.folder().at("20071023TwoParams.txt"); }
    /// Something that an update could have started; nothing runs it.
    std::string runFile() const { return m_folder.at("Updater").string(); }
    /// What a marker holds for the stage's run file and bundle.
    std::string markerBytes() const;

    /// Writes a script that sends "NAME USER-ID" and what `more` prints as one report.
    void writeHost(
        const std::filesystem::path& bundle, const std::string& name, const std::string& more) const;
    /// Writes bytes to a file that then belongs to the user whom the tool is run as.
    void writeOwned(const std::filesystem::path& file, const std::string& bytes) const;
    /// Runs the tool without arguments as the user whom everything belongs to.
    ToolRun run() const { return m_tool.run({}, user()); }
    /// What started hosts sent up to now or, when that is nothing, send within the time; empty when nothing
    /// comes.
    std::string reports(int waitMs = 20'000) const;
    bool ownsRoot() const;
    uid_t user() const { return ownsRoot() ? ToolCopy::kOrdinaryUser : ToolCopy::kCurrentUser; }

private:
    ToolCopy m_tool;
    ScopedTempDir m_folder;
    std::filesystem::path m_bundle;
    int m_reports = -1; ///< the pipe that the hosts write to
};
