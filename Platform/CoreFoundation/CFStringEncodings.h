// The two single-byte encodings that strings are read from. Private to this folder.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Every byte has a meaning in Mac OS Roman.
std::u16string wideFromMacRoman(std::string_view bytes);
/// Windows-1252; nothing when one of the five bytes without a meaning (81, 8D, 8F, 90, 9D) is there.
std::optional<std::u16string> wideFromWindowsLatin1(std::string_view bytes);
