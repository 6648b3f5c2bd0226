// Immutable bytes.
#include "Platform/CoreFoundation/CFData.h"

#include "Platform/CoreFoundation/CFRuntime.h"

#include <cstring>
#include <memory>
#include <new>
#include <utility>

struct __CFData final : CFObject {
    __CFData(std::unique_ptr<UInt8[]> bytes, CFIndex length)
        : CFObject(kCFRuntimeData)
        , m_bytes(std::move(bytes))
        , m_length(length)
    {
    }
    bool isEqual(const CFObject& other) const override
    {
        const __CFData& data = static_cast<const __CFData&>(other);
        return m_length == data.m_length
            && std::memcmp(m_bytes.get(), data.m_bytes.get(), static_cast<std::size_t>(m_length)) == 0;
    }

    const std::unique_ptr<UInt8[]> m_bytes;
    const CFIndex m_length;
};

CFTypeID CFDataGetTypeID()
{
    return kCFRuntimeData;
}

CFDataRef CFDataCreate(CFAllocatorRef, const UInt8* bytes, CFIndex length)
{
    if (length < 0 || (!bytes && length != 0))
        return nullptr;
    const std::size_t size = static_cast<std::size_t>(length);
    std::unique_ptr<UInt8[]> copy(new (std::nothrow) UInt8[size]);
    if (!copy)
        return nullptr;
    if (size != 0)
        std::memcpy(copy.get(), bytes, size);
    return new __CFData(std::move(copy), length);
}

CFIndex CFDataGetLength(CFDataRef data)
{
    return data->m_length;
}

const UInt8* CFDataGetBytePtr(CFDataRef data)
{
    return data->m_bytes.get();
}
