// A name that is still free, made from one that is taken.
#pragma once

#include "Platform/Support/Types.h"

#include <string>

/// Puts "_" and `digit` before the last "." of the name, or at its end when it has no extension. A "." that
/// the name begins with starts no extension. Names are any bytes.
std::string nameWithDigit(const std::string& name, char digit);

/// Finds the first of the names with the digits 1 to 9 that does not exist in the open folder. dupFNErr when
/// all nine do, as for any other name that is taken; errFSNameTooLong when the file system takes no name of
/// that length.
OSStatus GetUniqueName(int folder, const std::string& name, std::string& unique);
