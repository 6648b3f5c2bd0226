// The texts that describe a process's state and flags. Private to this folder and its tests.
#pragma once

#include "Platform/Support/Types.h"

#include <string>
#include <vector>

/// The texts of a documented state, one after the other. The state is taken as a set of bits, which is meant:
/// a sleeping process, 3, gets three texts.
std::string stateText(UInt8 state);
/// The texts of documented flags, in the order of their table; "No flags" or "Unknown flag" when there is
/// none.
std::vector<std::string> flagTexts(UInt32 flags);
/// The same, and prints flags of which none is known.
std::vector<std::string> reportedFlagTexts(UInt32 flags);
