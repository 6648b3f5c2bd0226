// Percent escapes of bytes. Private to this folder.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The bytes of `text` with every escape resolved. Nothing when a percent sign is not followed by two
/// hexadecimal digits.
std::optional<std::string> resolvePercentEscapes(std::string_view text);
/// `path` as the path of a file URL: "/" stays, whatever else could be taken for a delimiter is escaped.
std::string escapePath(std::string_view path);
/// True when `text` holds nothing but characters that may stand in a URL and well-formed escapes.
bool isUrlText(std::u16string_view text);
