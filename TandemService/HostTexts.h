// The host's own texts.
#pragma once

#include <string>

/// The text of the success alert, item 622 of "VelTanRes.aui" in the main bundle's resource "VelTanRes.UI";
/// empty when it cannot be read.
std::u16string installSuccessText();

/// Prints "TandemService: TEXT" to standard error.
void complain(const std::string& text);
