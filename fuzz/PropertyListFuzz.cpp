// Property lists in both forms: any bytes give a whole list within the bounds or none.
#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFPropertyListReading.h"
#include "Platform/CoreFoundation/CFString.h"
#include "fuzz/FuzzSupport.h"

#include <utility>
#include <vector>

namespace {

using Level = std::pair<CFTypeRef, std::size_t>;

/// Walks through the list as a user of it would.
void walk(CFTypeRef list)
{
    std::vector<Level> waiting = {{list, 1}};
    std::size_t seen = 0;
    while (!waiting.empty()) {
        const auto [value, level] = waiting.back();
        waiting.pop_back();
        fuzz::require(value != nullptr, "every value is there");
        fuzz::require(level <= kMaxPropertyListLevels, "levels keep within their bound");
        fuzz::require(++seen <= kMaxPropertyListValues, "values keep within their bound");
        if (CFGetTypeID(value) != CFArrayGetTypeID())
            continue;
        const auto array = static_cast<CFArrayRef>(value);
        for (CFIndex i = 0; i < CFArrayGetCount(array); ++i)
            waiting.emplace_back(CFArrayGetValueAtIndex(array, i), level + 1);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const CFRef<CFTypeRef> list = readPropertyList({bytes, size});
    if (list)
        walk(list);
    return 0;
}
