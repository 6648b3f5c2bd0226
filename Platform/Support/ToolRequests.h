// The exact command lines of the tools that are run.
#pragma once

#include "Platform/Support/ChildProcess.h"

#include <string>
#include <vector>

/// Absolute: nothing in the environment can put another program in its place.
inline constexpr char kPkexecTool[] = "/usr/bin/pkexec";

/// "/usr/bin/unzip -o ZIP -d FOLDER", without the options that its environment could hold and without a
/// terminal.
ChildRequest unzipRequest(const char* zipPath, const char* destinationFolder);
/// "/usr/sbin/installer -pkg PACKAGE -target TARGET".
ChildRequest installerRequest(const char* packagePath, const char* target);
/// "PKEXEC --disable-internal-agent PROGRAM ARGUMENT...", with an empty environment. `pkexec` is absolute: in
/// the product kPkexecTool, in tests a stand-in.
ChildRequest pkexecRequest(
    const std::string& pkexec, const std::string& program, const std::vector<std::string>& arguments);
