// The base of every object that a Core Foundation reference points to. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFBase.h"

#include <atomic>

/// The type ids of this layer; each type's CF...GetTypeID() returns its own.
enum CFRuntimeType : CFTypeID {
    kCFRuntimeString = 1,
    kCFRuntimeNumber,
    kCFRuntimeBoolean,
    kCFRuntimeData,
    kCFRuntimeDate,
    kCFRuntimeArray,
    kCFRuntimeDictionary,
    kCFRuntimeURL,
    kCFRuntimeBundle,
    kCFRuntimeRunLoop,
    kCFRuntimeMessagePort,
    kCFRuntimeTree,
    kCFRuntimeXMLNode,
    kCFRuntimeHTTPMessage,
    kCFRuntimeReadStream,
};

/// An object with its reference count, which is 1 after construction. A type derives from it as its first and
/// only base, so that a CFTypeRef, the object's address without a type, is the address of this part too.
class CFObject {
public:
    explicit CFObject(CFTypeID typeId)
        : m_typeId(typeId)
    {
    }
    CFObject(const CFObject&) = delete;
    CFObject& operator=(const CFObject&) = delete;

    CFTypeID typeId() const { return m_typeId; }
    void retain() const { m_count.fetch_add(1, std::memory_order_relaxed); }
    /// Destroys the object, which must have been made by `new`, with its last reference.
    void release() const;
    /// True when there is an owner besides the one that asks.
    bool isShared() const { return m_count.load(std::memory_order_acquire) > 1; }
    /// True when both hold equal values. Called only with another object of the same type.
    virtual bool isEqual(const CFObject& other) const { return this == &other; }

protected:
    virtual ~CFObject() = default;

private:
    const CFTypeID m_typeId;
    mutable std::atomic<SInt32> m_count {1};
};
