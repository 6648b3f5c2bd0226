// Narrow text to wide text, by code page.
#pragma once

#include "Platform/Support/Types.h"

/// Code page 0 is Windows Latin-1, 65001 UTF-8, every other Mac Roman; `flags` is ignored. With
/// `targetLength` 0 returns the room that surely suffices: `sourceLength` (-1: the length of `source`) + 1.
/// Otherwise converts the whole zero-terminated `source`, whatever `sourceLength` says, and writes as much as
/// fits in `targetLength` units, always with a terminating zero; returns the units written, that zero
/// included. 0, and an empty text in the target, when `source` is not valid in its encoding or `targetLength`
/// is negative.
int MultiByteToWideChar(
    UInt32 codePage, UInt32 flags, const char* source, int sourceLength, UniChar* target, int targetLength);
