// The rules for one member of a payload: which names, kinds and modes may be installed.
#pragma once

#include "TandemService/package/InstallOptions.h"
#include "TandemService/package/InstallResult.h"

#include <string>

#include <sys/types.h>

/// Brings a member's path to the form "a/b/c": "./", doubled and trailing slashes are dropped; "" is the
/// payload's root. Refused: no name, an absolute path, a ".." component, a zero-length or overlong name, too
/// many levels.
InstallResult normalisePath(const char* raw, const InstallLimits& limits, std::string& path);

/// Checks a symbolic link's text. It may point anywhere, as links in bundles do: nothing is ever written
/// through one.
InstallResult checkLinkText(const char* raw, const InstallLimits& limits);

/// The mode to install: the owner keeps access (folders 0700, files 0400 at least), the group and others get
/// no write access, and set-user-id, set-group-id and sticky bits are dropped, so that no package makes a
/// privileged program. The suite's one privileged tool takes its rights itself, after the administrator
/// agreed.
mode_t installMode(mode_t raw, bool isFolder);
