#include "Cocoa2CarbonLib/FSCopyBuffer.h"

#include "Platform/Support/ErrorNumbers.h"

#include <algorithm>
#include <new>

namespace {

constexpr UInt32 kBytesBeforeGradeEnds = 17;
constexpr UInt32 kDefaultBytes = 262144;
constexpr UInt32 kMinBytes = 1024;
constexpr UInt32 kMaxBytes = 2097152;
constexpr UInt32 kSpeedUnit = 2048;
constexpr UInt32 kBytesPerSpeedUnit = 512;

} // namespace

UInt32 copyBufferBytes(UInt32 parmsBytes, SInt32 volumeGrade)
{
    const bool hasSpeed = parmsBytes > kBytesBeforeGradeEnds && volumeGrade <= 0;
    const UInt32 speed = hasSpeed ? 0U - static_cast<UInt32>(volumeGrade) : 0;
    const UInt32 bytes = speed == 0 ? kDefaultBytes : speed / kSpeedUnit * kBytesPerSpeedUnit;
    return std::clamp(bytes, kMinBytes, kMaxBytes);
}

OSStatus CopyBuffer::allocate(UInt32 wantedBytes)
{
    bytes.reset(new (std::nothrow) char[wantedBytes]);
    size = bytes ? wantedBytes : 0;
    return bytes ? noErr : memFullErr;
}
