// The arithmetic of received bytes, which are counted in signed 32 bits.
#pragma once

#include "Platform/Support/Types.h"

#include <algorithm>
#include <limits>

inline constexpr SInt32 kMaxDownloadBytes = std::numeric_limits<SInt32>::max();
/// The buffer grows to what is needed and this much more, so that full chunks make it grow every other time.
inline constexpr SInt32 kBufferReserveBytes = 16384;

/// `received` + `count` (neither negative), held at kMaxDownloadBytes.
constexpr SInt32 addReceivedBytes(SInt32 received, SInt32 count)
{
    return static_cast<SInt32>(std::min<SInt64>(SInt64 {received} + count, kMaxDownloadBytes));
}

/// Whether `received` + `count` bytes fit in a buffer of `capacity` bytes.
constexpr bool fitsInBuffer(SInt32 received, SInt32 count, SInt32 capacity)
{
    return SInt64 {received} + count <= capacity;
}

/// How large the buffer is made for `count` more bytes: 0 when they would pass kMaxDownloadBytes.
constexpr SInt32 grownCapacity(SInt32 received, SInt32 count)
{
    const SInt64 needed = SInt64 {received} + count;
    if (needed > kMaxDownloadBytes)
        return 0;
    return static_cast<SInt32>(std::min<SInt64>(needed + kBufferReserveBytes, kMaxDownloadBytes));
}
