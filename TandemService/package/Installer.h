// Installing a package into a target folder: all of it or nothing.
#pragma once

#include "TandemService/package/InstallOptions.h"
#include "TandemService/package/InstallResult.h"

#include <string>

/// Unpacks `package` into a staging folder beside the target and then swaps the payload's top-level entries
/// with those of the same name in the target. Each is replaced as a whole: a payload that holds "Foo.app/..."
/// replaces Foo.app, one that holds "Contents/..." replaces Contents; other entries of the target stay. An
/// interrupted earlier install on the target is dealt with first. On an error the target is as it was.
InstallResult installPackage(
    const std::string& package, const std::string& target, const InstallOptions& options = {});

/// Puts back or completes an interrupted install on `target`; nothing to do is success.
InstallResult recoverInstall(const std::string& target, const InstallOptions& options = {});

/// True when an interrupted install waits on `target`; takes no lock, so one that is under way counts as
/// well.
bool hasInterruptedInstall(const std::string& target);
