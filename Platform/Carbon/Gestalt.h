// What the system says about itself.
#pragma once

#include "Platform/Support/Types.h"

/// The system's version, as four hexadecimal digits: 0x1030 is 10.3.
inline constexpr OSType gestaltSystemVersion = 0x73797376; // 'sysv'
/// What this layer gives for it, whatever Linux it runs on: the version whose interfaces it follows.
inline constexpr SInt32 kLayerSystemVersion = 0x1040;

/// Writes the answer for `selector`, which must be gestaltSystemVersion, to `response`; always noErr.
OSStatus Gestalt(OSType selector, SInt32* response);
