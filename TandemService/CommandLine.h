// The host's command line.
#pragma once

#include <optional>
#include <string>
#include <vector>

enum class HostMode { resident, check, update, help };

struct HostOptions {
    HostMode mode = HostMode::resident;
    bool unattended = false; ///< only with HostMode::update
    std::string plugin {};   ///< a bundle's folder; empty for the carried one
    std::string pictures {}; ///< a folder for pictures of the windows; empty for none

    friend bool operator==(const HostOptions&, const HostOptions&) = default;
};

/// Reads the arguments after the program's name; none, and what is wrong in `error`, when they are not
/// understood.
std::optional<HostOptions> parseCommandLine(const std::vector<std::string>& arguments, std::string& error);

/// How the program is used, several lines.
extern const char* const kUsageText;
