// The integer and character types that every interface of the platform speaks.
#pragma once

#include <cstdint>

using UInt8 = std::uint8_t;
using SInt16 = std::int16_t;
using UInt16 = std::uint16_t;
using SInt32 = std::int32_t;
using UInt32 = std::uint32_t;
using SInt64 = std::int64_t;
using UInt64 = std::uint64_t;

/// One UTF-16 code unit.
using UniChar = char16_t;
/// 0 is false, everything else is true.
using Boolean = unsigned char;
/// 0 is success; other values are listed in ErrorNumbers.h.
using OSStatus = SInt32;
/// A four-character code, the first character in the highest byte.
using OSType = UInt32;
