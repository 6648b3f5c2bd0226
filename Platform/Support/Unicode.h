// Conversions between UTF-16 (inside the program) and UTF-8 (files, processes, the network), and the
// wide-text rules that names and keywords are compared by.
#pragma once

#include "Platform/Support/Types.h"

#include <cstddef>
#include <string>
#include <string_view>

/// The longest path, in bytes without its terminating zero, that is handed to a file-system or process call.
inline constexpr std::size_t kMaxPathBytes = 1023;

/// UTF-8 for `text`. A lone surrogate becomes U+FFFD, so the result is always valid (RFC 3629).
std::string utf8FromWide(std::u16string_view text);

/// UTF-16 for `text`. Every byte that is no part of a valid sequence (RFC 3629: no overlong form, no
/// surrogate, nothing above U+10FFFF) becomes U+FFFD.
std::u16string wideFromUtf8(std::string_view text);

/// True when `text` is valid UTF-8 (RFC 3629).
bool isValidUtf8(std::string_view text);

/// Converts a path to UTF-8 without cutting or replacing anything. Returns false, and leaves `path` empty,
/// when the text is empty, holds a zero unit or a lone surrogate, or needs more than `maxBytes` bytes.
bool pathFromWide(std::u16string_view wide, std::string& path, std::size_t maxBytes = kMaxPathBytes);

/// Converts a path back to UTF-16. Returns false, and leaves `wide` empty, when the bytes are not valid UTF-8
/// or need more than `maxUnits` units.
bool wideFromPath(std::string_view path, std::u16string& wide, std::size_t maxUnits = 1023);

/// `unit` in lower case: Latin (full-width too), Greek, Cyrillic, Armenian; other units stay as they are.
UniChar lowerCaseUnit(UniChar unit);

/// -1, 0 or 1: the order of the two texts by code unit after lower-casing each unit.
int compareIgnoringCase(std::u16string_view a, std::u16string_view b);

/// True when the two texts are equal but for case.
bool equalIgnoringCase(std::u16string_view a, std::u16string_view b);

/// The integer that `text` begins with: blanks, a sign and decimal digits; 0 when there are none. A value
/// outside 32 bits is held at the nearest 32-bit value.
SInt32 leadingInteger(std::u16string_view text);
