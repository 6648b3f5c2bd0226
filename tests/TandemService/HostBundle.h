// A host in an application bundle of its own, with the fake provider as its plug-in.
#pragma once

#include "tests/support/FakeHome.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

class HostBundle {
public:
    HostBundle();
    /// Ends a host that still runs.
    ~HostBundle();
    HostBundle(const HostBundle&) = delete;
    HostBundle& operator=(const HostBundle&) = delete;

    /// Sets a variable for the host and its provider.
    void set(const std::string& name, const std::string& value) { m_variables[name] = value; }
    /// Leaves a variable out.
    void unset(const std::string& name) { m_unset.push_back(name); }
    /// Calls `step` in the host's process just before the host starts there.
    void prepareWith(std::function<void()> step) { m_prepare = std::move(step); }
    /// Runs the host to its end and returns its exit status, or -1 when a signal ended it.
    int run(const std::vector<std::string>& arguments);
    /// Starts the host and leaves it running; one at a time.
    void start(const std::vector<std::string>& arguments);
    /// Waits for the end of the started host.
    int wait();
    void signal(int number) const;
    /// The folder of the started host in /proc.
    std::filesystem::path process() const { return "/proc/" + std::to_string(m_running); }
    /// Waits until the provider's log holds `line`; false after half a minute.
    bool waitForLine(const std::string& line) const;
    /// Waits until the started host has printed `text`.
    bool waitForOutput(const std::string& text) const;
    static bool waitForFile(const std::filesystem::path& file);

    std::string output() const { return readWholeFile(m_home.folder().at("stdout")); }
    std::string errors() const { return readWholeFile(m_home.folder().at("stderr")); }
    /// What the provider noted, line by line.
    std::string log() const { return readWholeFile(m_home.folder().at("log")); }

    const FakeHome& home() const { return m_home; }
    std::filesystem::path app() const { return m_home.folder().at("Tandem.app"); }

private:
    pid_t launch(const std::vector<std::string>& arguments, const std::string& suffix) const;

    FakeHome m_home;
    std::map<std::string, std::string> m_variables;
    std::vector<std::string> m_unset;
    std::function<void()> m_prepare = [] {};
    pid_t m_running = 0;
};

/// Writes Contents/Info.plist of a bundle.
void writeInfoPlist(const ScopedTempDir& folder, const std::string& bundle, const std::string& identifier,
    const std::string& executable);
