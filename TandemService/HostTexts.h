// The host's own texts.
#pragma once

#include <string>
#include <string_view>

/// The text of the success alert, item 622 of "VelTanRes.aui" in the main bundle's resource "VelTanRes.UI";
/// empty when it cannot be read.
std::u16string installSuccessText();

/// `text` in UTF-8 on one line: a message holds product names, which are data, so control characters become
/// blanks.
std::string printableLine(std::u16string_view text);

/// Prints "TandemService: TEXT" to standard error.
void complain(const std::string& text);
