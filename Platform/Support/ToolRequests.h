// The exact command lines of the tools that are run.
#pragma once

#include "Platform/Support/ChildProcess.h"

/// "/usr/bin/unzip -o ZIP -d FOLDER", without the options that its environment could hold and without a
/// terminal.
ChildRequest unzipRequest(const char* zipPath, const char* destinationFolder);
/// "/usr/sbin/installer -pkg PACKAGE -target TARGET".
ChildRequest installerRequest(const char* packagePath, const char* target);
