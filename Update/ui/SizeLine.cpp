#include "Update/ui/SizeLine.h"

#include "Platform/Support/UniFormat.h"
#include "Platform/Support/UniText.h"

std::u16string sizeLine(std::u16string_view labelTemplate, UInt32 sizeBytes)
{
    constexpr UInt32 kBytesPerK = 1024;
    constexpr UInt32 kBytesPerM = 1024 * 1024;
    std::u16string format(labelTemplate);
    double value = sizeBytes;
    if (sizeBytes > kBytesPerM) {
        format += u"     %.2f M";
        value /= kBytesPerM;
    } else if (sizeBytes > kBytesPerK) {
        format += u"     %.2f K";
        value /= kBytesPerK;
    } else {
        format += u"     %d Byte(s)";
    }
    return std::u16string(WideText(formatText(format, {value})).view());
}
