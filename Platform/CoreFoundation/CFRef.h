// The owner of one reference to an object: the only place where product code retains and releases.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

#include <cstddef>
#include <type_traits>
#include <utility>

/// Holds one reference, or none, and gives it back when it goes. Made by adoptCF and retainCF only. Converts
/// to the bare reference, which lives as long as this owner.
template <typename T> class CFRef {
    static_assert(std::is_pointer_v<T>, "T is a reference type such as CFStringRef");

public:
    CFRef() = default;
    CFRef(std::nullptr_t) { }
    CFRef(const CFRef& other)
        : m_object(other.m_object)
    {
        if (m_object)
            CFRetain(m_object);
    }
    CFRef(CFRef&& other) noexcept
        : m_object(std::exchange(other.m_object, nullptr))
    {
    }
    CFRef& operator=(CFRef other) noexcept
    {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~CFRef()
    {
        if (m_object)
            CFRelease(m_object);
    }

    operator T() const { return m_object; }
    T get() const { return m_object; }

    template <typename U> friend CFRef<U> adoptCF(U object);

private:
    T m_object = nullptr;
};

/// Takes over the reference that a Create or Copy function returned; null is allowed.
template <typename T> CFRef<T> adoptCF(T object)
{
    CFRef<T> ref;
    ref.m_object = object;
    return ref;
}

/// Keeps an object that a Get function returned, with a reference of its own; null is allowed.
template <typename T> CFRef<T> retainCF(T object)
{
    if (object)
        CFRetain(object);
    return adoptCF(object);
}
