// The two readers of property lists and what they share. Private to this folder, and to what measures and
// fuzzes it.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"

#include <cstddef>
#include <span>
#include <string_view>

inline constexpr std::size_t kMaxPropertyListLevels = 512;
inline constexpr std::size_t kMaxPropertyListValues = 1'000'000;

/// Reads a list in either form; null when the bytes are no property list, or pass the bounds.
CFRef<CFTypeRef> readPropertyList(std::span<const UInt8> bytes);

/// Null when the bytes are no property list in XML, or pass the bounds.
CFRef<CFTypeRef> readXMLPropertyList(std::span<const UInt8> bytes);

/// What a property list in the binary form begins with.
inline constexpr std::string_view kBinaryPropertyListMagic = "bplist00";
/// Null when the bytes are no property list in the binary form, or pass the bounds.
CFRef<CFTypeRef> readBinaryPropertyList(std::span<const UInt8> bytes);

/// The number of that sign and magnitude: floating point above 2^63-1, null below -2^63.
CFRef<CFTypeRef> propertyListInteger(bool negative, UInt64 magnitude);

/// The values that XML property lists write as text; each null when the text is no such value. White space
/// around it is allowed. Integers are decimal or, after 0x, hexadecimal; dates are "2026-11-20T21:44:00Z";
/// data is base64 (RFC 4648) with white space anywhere.
CFRef<CFTypeRef> integerFromText(std::u16string_view text);
CFRef<CFTypeRef> realFromText(std::u16string_view text);
CFRef<CFTypeRef> dateFromText(std::u16string_view text);
CFRef<CFTypeRef> dataFromText(std::u16string_view text);
