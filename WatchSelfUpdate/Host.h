// The host that is started again.
#pragma once

#include "WatchSelfUpdate/ExitStatus.h"
#include "WatchSelfUpdate/Session.h"

#include <string>

/// The host's program in its bundle. The tool reads no property list: this is the one name that it starts.
inline constexpr char kHostProgramInBundle[] = "/Contents/Linux/TandemService";

/// The host's program, when `bundle` is a folder with Contents/Info.plist and that program: a regular file
/// that the calling user may execute, that belongs to him or to root, and that not everybody can write to.
/// Otherwise empty.
std::string hostProgramOf(const std::string& bundle);

/// Starts the program without arguments and leaves it: in a session and a root folder of its own, with the
/// noted environment and umask, default signal handling and nothing but /dev/null open. Ok once it runs the
/// program.
ExitStatus startHost(const std::string& program, const Session& session);
