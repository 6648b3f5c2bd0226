// Points in time.
#include "Platform/CoreFoundation/CFDate.h"

#include "Platform/CoreFoundation/CFRuntime.h"

struct __CFDate final : CFObject {
    explicit __CFDate(CFAbsoluteTime at)
        : CFObject(kCFRuntimeDate)
        , m_at(at)
    {
    }
    bool isEqual(const CFObject& other) const override
    {
        return m_at == static_cast<const __CFDate&>(other).m_at;
    }

    const CFAbsoluteTime m_at;
};

CFTypeID CFDateGetTypeID()
{
    return kCFRuntimeDate;
}

CFDateRef CFDateCreate(CFAllocatorRef, CFAbsoluteTime at)
{
    return new __CFDate(at);
}
