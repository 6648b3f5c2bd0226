// A try of the administrator's rights: says as whom a privileged tool runs. No part of the system calls it.
#pragma once

#include "Platform/Support/Types.h"

/// Asks for the right "system.privilege.admin", runs "/usr/bin/id -un" with it and copies what that prints to
/// standard output. Prints "Status: %ld\n" with the status when a step failed. Gives that status, or noErr.
OSStatus RunHelpTool();
