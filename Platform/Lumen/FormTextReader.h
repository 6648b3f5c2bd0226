// Reads a Designer form for the texts of its widgets, without building any widget.
#pragma once

#include <map>
#include <string>
#include <string_view>

/// From object name to the "text" property of each widget that has both; of two widgets of one name the first
/// counts.
using FormTexts = std::map<std::u16string, std::u16string>;

/// False, and `texts` empty, when `document` is not well-formed XML with the root element "ui", declares
/// entities, or nests deeper than 256 elements.
bool readFormTexts(std::string_view document, FormTexts& texts);
