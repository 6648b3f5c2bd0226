// Immutable ordered lists of objects.
#include "Platform/CoreFoundation/CFArray.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/Support/Assertion.h"

#include <algorithm>
#include <limits>
#include <utility>

using ArrayValues = std::vector<CFRef<CFTypeRef>>;

struct __CFArray final : CFObject {
    explicit __CFArray(ArrayValues values)
        : CFObject(kCFRuntimeArray)
        , m_values(std::move(values))
    {
    }
    bool isEqual(const CFObject& other) const override
    {
        const ArrayValues& others = static_cast<const __CFArray&>(other).m_values;
        return std::equal(m_values.begin(), m_values.end(), others.begin(), others.end(),
            [](CFTypeRef a, CFTypeRef b) { return CFEqual(a, b); });
    }

    const ArrayValues m_values;
};

CFTypeID CFArrayGetTypeID()
{
    return kCFRuntimeArray;
}

CFArrayRef CFArrayCreateWithObjects(const std::vector<CFTypeRef>& values)
{
    VELMORA_ASSERT(values.size() <= static_cast<std::size_t>(std::numeric_limits<CFIndex>::max()));
    ArrayValues kept;
    kept.reserve(values.size());
    for (const CFTypeRef value : values) {
        VELMORA_ASSERT(value != nullptr);
        kept.push_back(retainCF(value));
    }
    return new __CFArray(std::move(kept));
}

CFIndex CFArrayGetCount(CFArrayRef array)
{
    return static_cast<CFIndex>(array->m_values.size());
}

CFTypeRef CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index)
{
    VELMORA_ASSERT(index >= 0 && index < CFArrayGetCount(array));
    return array->m_values[static_cast<std::size_t>(index)];
}
