// Finding an installed product that is no longer where it was installed.
#pragma once

#include "Platform/Support/Types.h"

/// Finds the application that a product's saved information describes: the property list named by both parts
/// in the folder "Product Infos". The desktop knows where the application with its bundle identifier is; of
/// identifier, executable, version and name at least three must be the same there, ignoring case. True when
/// it was found; then its path (UTF-8, zero-terminated) is in `path`, which holds `pathSize` bytes and may be
/// null. False, and nothing written, also when the path does not fit, or a part is null or holds a "/".
bool SearchApplicationExistMacDatabase(
    const UniChar* firstPart, const UniChar* secondPart, char* path, int pathSize);
