// Starting the host again, from the bundle that an update put in place.
#pragma once

#include <string>

/// The program of a bundle: Contents/Linux/<CFBundleExecutable>. Empty when `bundle` is no absolute path of a
/// bundle with an executable file of that name.
std::string programOfBundle(const std::string& bundle);

/// Starts `program` without arguments, detached: in a session of its own, without this process's descriptors
/// but its standard output and error, in the root folder. False when it cannot be started.
bool startDetached(const std::string& program);
