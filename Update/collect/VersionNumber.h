// Version numbers: four signed integers, compared in order.
#pragma once

#include "Platform/Support/UniText.h"

#include <array>

using Version = std::array<SInt32, 4>;

/// Parses `text` into version[0..3] and writes zeros into it at the separators: the caller passes a scratch
/// copy. "." separates, and "," only where no "." is left in the rest. Missing parts and parts without
/// leading digits are 0. Always returns 1.
int CheckVersionSupport(SInt32* version, UniChar* text);
/// 1 when `a` is newer, -1 when `b` is newer, 0 when they are equal. Each has four parts.
int CompareVerion(const SInt32* a, const SInt32* b);
/// The text form "%d.%d.%d.%d".
VersionText versionText(const SInt32* version);
