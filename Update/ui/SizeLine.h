// The line that tells how much there is to download.
#pragma once

#include "Platform/Support/Types.h"

#include <string>
#include <string_view>

/// `labelTemplate`, five blanks and the size in M, K or bytes, cut at 1023 units: "Total size:     3.00 M".
std::u16string sizeLine(std::u16string_view labelTemplate, UInt32 sizeBytes);
