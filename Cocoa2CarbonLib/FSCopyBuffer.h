// The buffer that the content of forks goes through, and the rule for its size.
#pragma once

#include "Platform/Support/Types.h"

#include <memory>

/// The size for a volume whose parameter block has `parmsBytes` bytes and this grade. The speed is minus the
/// grade where the block holds a grade (longer than 17 bytes) of at most 0, otherwise 0; the buffer has 512
/// bytes for each whole 2048 of it, 262144 bytes for speed 0, and always 1024 to 2097152.
UInt32 copyBufferBytes(UInt32 parmsBytes, SInt32 volumeGrade);

struct CopyBuffer {
    std::unique_ptr<char[]> bytes;
    UInt32 size = 0;

    /// Takes the memory: memFullErr when there is none.
    OSStatus allocate(UInt32 wantedBytes);
};
