// Counting references, and equality.
#include "Platform/CoreFoundation/CFBase.h"

#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/Support/Assertion.h"

namespace {

const CFObject& objectOf(CFTypeRef reference)
{
    VELMORA_ASSERT(reference != nullptr);
    return *static_cast<const CFObject*>(reference);
}

} // namespace

void CFObject::release() const
{
    // The last owner must see everything that the other owners wrote before they let go.
    const SInt32 before = m_count.fetch_sub(1, std::memory_order_acq_rel);
    VELMORA_ASSERT(before > 0);
    if (before == 1)
        delete this;
}

CFTypeRef CFRetain(CFTypeRef object)
{
    objectOf(object).retain();
    return object;
}

void CFRelease(CFTypeRef object)
{
    objectOf(object).release();
}

CFTypeID CFGetTypeID(CFTypeRef object)
{
    return objectOf(object).typeId();
}

bool CFEqual(CFTypeRef a, CFTypeRef b)
{
    const CFObject& left = objectOf(a);
    const CFObject& right = objectOf(b);
    if (&left == &right)
        return true;
    return left.typeId() == right.typeId() && left.isEqual(right);
}
