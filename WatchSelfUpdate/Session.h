// What the host that is started again keeps of the session that the tool was started in.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

struct Session {
    std::vector<std::string> environment; ///< entries "NAME=value"
    mode_t umask = 0;
};

/// Notes the session, before the process puts it off, and sets a private umask. Of the environment only what
/// a desktop program needs is kept: display, session bus, folders, language, time zone, proxies; the search
/// path is a fixed one. The variables that relocate the suite are kept only where `mayRelocate`.
Session noteSession(const char* const* environment, bool mayRelocate);
