#include "Cocoa2CarbonLib/FSUniqueName.h"

#include "Platform/Carbon/FSItem.h"
#include "Platform/Support/ErrorNumbers.h"

#include <string_view>

namespace {

constexpr std::string_view kDigits = "123456789";

} // namespace

std::string nameWithDigit(const std::string& name, char digit)
{
    const std::size_t dot = name.rfind('.');
    const bool hasExtension = dot != std::string::npos && dot != 0;
    std::string result = name;
    return result.insert(hasExtension ? dot : name.size(), {'_', digit});
}

OSStatus GetUniqueName(int folder, const std::string& name, std::string& unique)
{
    for (const char digit : kDigits) {
        unique = nameWithDigit(name, digit);
        ItemInfo taken;
        const OSStatus error = itemInfo(folder, unique, taken);
        if (error == fnfErr)
            return noErr;
        if (error != noErr)
            return error;
    }
    return dupFNErr;
}
