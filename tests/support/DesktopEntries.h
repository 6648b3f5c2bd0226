// Desktop entries of a test's own.
#pragma once

#include "tests/support/FakeHome.h"

#include <string_view>

/// Points XDG_DATA_HOME into a scratch folder, and XDG_DATA_DIRS to a second one there, as long as it lives.
class DesktopEntries {
public:
    DesktopEntries();

    /// Writes the user's entry IDENTIFIER.desktop, of an application with that command line. `more` is added
    /// as it is, such as "Hidden=true\n".
    void add(std::string_view identifier, std::string_view exec, std::string_view more = "") const;
    /// The same for the entry that counts less: the system's.
    void addForSystem(std::string_view identifier, std::string_view exec) const;
    /// Writes the user's entry IDENTIFIER.desktop.
    void write(std::string_view identifier, std::string_view text) const;
    /// The folder of the user's entries, which need not exist.
    std::filesystem::path folder() const { return m_folder.at("user/applications"); }

private:
    ScopedTempDir m_folder;
    ScopedEnvironment m_user;
    ScopedEnvironment m_system;
};
