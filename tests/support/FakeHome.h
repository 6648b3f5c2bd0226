// A private place for everything that a program keeps: caches, run-time folder and the local domain.
#pragma once

#include "tests/support/TempDir.h"

#include <optional>
#include <string>

/// Sets an environment variable and puts its former value back when it goes.
class ScopedEnvironment {
public:
    ScopedEnvironment(const char* name, const std::string& value);
    /// Unsets the variable.
    explicit ScopedEnvironment(const char* name);
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;
    ~ScopedEnvironment();

private:
    std::string m_name;
    std::optional<std::string> m_former;
};

/// Points HOME, XDG_CACHE_HOME, XDG_RUNTIME_DIR (mode 0700) and VELMORA_ROOT into a scratch folder as long as
/// it lives.
class FakeHome {
public:
    FakeHome();

    const std::filesystem::path& path() const { return m_folder.path(); }
    std::filesystem::path home() const { return m_folder.at("home"); }
    std::filesystem::path cache() const { return m_folder.at("cache"); }
    std::filesystem::path runtime() const { return m_folder.at("run"); }
    /// What stands before every /Library path.
    std::filesystem::path root() const { return m_folder.at("root"); }
    const ScopedTempDir& folder() const { return m_folder; }

private:
    ScopedTempDir m_folder;
    ScopedEnvironment m_home;
    ScopedEnvironment m_cache;
    ScopedEnvironment m_runtime;
    ScopedEnvironment m_root;
};
