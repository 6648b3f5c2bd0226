// Property lists in the binary form: a header, objects, the table of their offsets, a trailer.
#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFDate.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFPropertyListReading.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

/// The trailer is the list's end: six unused bytes, the sizes in bytes of an offset and of a reference, then
/// three big-endian 64-bit numbers.
enum TrailerField : std::size_t {
    kOffsetSizeField = 6,
    kReferenceSizeField = 7,
    kObjectCountField = 8,
    kRootField = 16,
    kTableField = 24,
    kTrailerBytes = 32,
};

/// An object's first byte: its kind in the upper half, a size or a count in the lower one.
enum Kind : UInt8 {
    kSimple = 0x0,
    kInteger = 0x1,
    kReal = 0x2,
    kDate = 0x3,
    kData = 0x4,
    kAsciiString = 0x5,
    kUtf16String = 0x6,
    kUid = 0x8,
    kArray = 0xA,
    kDictionary = 0xD,
};
constexpr unsigned kFalse = 0x8;
constexpr unsigned kTrue = 0x9;
constexpr unsigned kCountFollows = 0xF;
constexpr unsigned kDateSize = 0x3; // as a power of two

/// A part of the list: from `at`, `size` bytes.
struct Part {
    std::size_t at;
    std::size_t size;
};

/// What the list's object of one number is, once it was read. It is read once and shared wherever it is
/// referred to.
struct Object {
    CFRef<CFTypeRef> value;
    std::size_t valueCount = 1; ///< with all values below it, each as often as it is referred to
    std::size_t levels = 1;
    bool begun = false; ///< begun without a value: a list that holds itself
};

class BinaryList {
public:
    explicit BinaryList(std::span<const UInt8> bytes)
        : m_bytes(bytes)
    {
    }
    CFRef<CFTypeRef> read();

private:
    bool readTrailer(UInt64& root);
    const Object* objectAt(UInt64 number, std::size_t level);
    bool readObject(Object& object, std::size_t at, std::size_t level);
    CFRef<CFTypeRef> leaf(UInt8 kind, unsigned low, std::size_t at);
    CFRef<CFTypeRef> integer(unsigned sizePower, std::size_t at);
    CFRef<CFTypeRef> floating(UInt8 kind, unsigned sizePower, std::size_t at);
    CFRef<CFTypeRef> uid(std::size_t size, std::size_t at);
    CFRef<CFTypeRef> data(Part part);
    CFRef<CFTypeRef> asciiString(Part part);
    CFRef<CFTypeRef> utf16String(Part part);
    bool readContainer(Object& object, UInt8 kind, Part references, std::size_t level);
    CFRef<CFTypeRef> container(UInt8 kind, const std::vector<CFTypeRef>& values) const;

    bool take(Part part);
    bool takeCounted(unsigned low, std::size_t at, std::size_t unitBytes, Part& part);
    UInt64 number(std::size_t at, std::size_t size) const;

    std::span<const UInt8> m_bytes;
    std::size_t m_table = 0; ///< where the offsets begin and the objects end
    std::size_t m_offsetSize = 0;
    std::size_t m_referenceSize = 0;
    std::vector<Object> m_objects;
    /// What the objects read so far hold. Objects lie beside one another, so together they cannot hold more
    /// than the list; where they do, it was made to grow without bound.
    std::size_t m_takenBytes = 0;
};

CFRef<CFTypeRef> BinaryList::read()
{
    UInt64 root = 0;
    if (!readTrailer(root))
        return nullptr;
    const Object* object = objectAt(root, 1);
    return object ? object->value : nullptr;
}

bool BinaryList::readTrailer(UInt64& root)
{
    if (m_bytes.size() < kBinaryPropertyListMagic.size() + kTrailerBytes)
        return false;
    const std::size_t trailer = m_bytes.size() - kTrailerBytes;
    m_offsetSize = m_bytes[trailer + kOffsetSizeField];
    m_referenceSize = m_bytes[trailer + kReferenceSizeField];
    const UInt64 objectCount = number(trailer + kObjectCountField, 8);
    const UInt64 table = number(trailer + kTableField, 8);
    root = number(trailer + kRootField, 8);
    if (m_offsetSize < 1 || m_offsetSize > 8 || m_referenceSize < 1 || m_referenceSize > 8)
        return false;
    if (table < kBinaryPropertyListMagic.size() || table > trailer || objectCount > kMaxPropertyListValues
        || objectCount > (trailer - table) / m_offsetSize)
        return false;
    m_table = static_cast<std::size_t>(table);
    m_objects.resize(static_cast<std::size_t>(objectCount));
    return true;
}

/// The big-endian number of `size` bytes, which lie within the list; of more than 8 bytes the last 8.
UInt64 BinaryList::number(std::size_t at, std::size_t size) const
{
    UInt64 value = 0;
    for (const UInt8 byte : m_bytes.subspan(at, size))
        value = value << 8 | byte;
    return value;
}

/// True when the part lies among the objects and they do not hold more than the list.
bool BinaryList::take(Part part)
{
    if (part.at > m_table || part.size > m_table - part.at)
        return false;
    m_takenBytes += part.size;
    return m_takenBytes <= m_bytes.size();
}

/// Finds the content of an object whose count of units of `unitBytes` is `low`, or stands at `at` as an
/// integer.
bool BinaryList::takeCounted(unsigned low, std::size_t at, std::size_t unitBytes, Part& part)
{
    UInt64 count = low;
    if (low == kCountFollows) {
        if (!take({at, 1}) || m_bytes[at] >> 4 != kInteger || (m_bytes[at] & 0xF) > 3)
            return false;
        const std::size_t size = std::size_t(1) << (m_bytes[at] & 0xF);
        if (!take({at + 1, size}))
            return false;
        count = number(at + 1, size);
        at += 1 + size;
    }
    if (count > m_bytes.size() / unitBytes)
        return false;
    part = {at, static_cast<std::size_t>(count) * unitBytes};
    return take(part);
}

/// The object of that number, read now when it was not read before. Null when it is malformed, holds itself
/// or passes the bounds.
const Object* BinaryList::objectAt(UInt64 objectNumber, std::size_t level)
{
    if (objectNumber >= m_objects.size() || level > kMaxPropertyListLevels)
        return nullptr;
    const auto index = static_cast<std::size_t>(objectNumber);
    Object& object = m_objects[index];
    if (object.begun)
        return object.value ? &object : nullptr;
    object.begun = true;
    const UInt64 at = number(m_table + index * m_offsetSize, m_offsetSize);
    if (at < kBinaryPropertyListMagic.size() || at >= m_table)
        return nullptr;
    return readObject(object, static_cast<std::size_t>(at), level) ? &object : nullptr;
}

bool BinaryList::readObject(Object& object, std::size_t at, std::size_t level)
{
    const UInt8 kind = m_bytes[at] >> 4;
    const unsigned low = m_bytes[at] & 0xF;
    if (!take({at, 1}))
        return false;
    if (kind != kArray && kind != kDictionary) {
        object.value = leaf(kind, low, at + 1);
        return object.value != nullptr;
    }
    const std::size_t unitBytes = m_referenceSize * (kind == kDictionary ? 2 : 1);
    Part references {};
    return takeCounted(low, at + 1, unitBytes, references) && readContainer(object, kind, references, level);
}

CFRef<CFTypeRef> BinaryList::leaf(UInt8 kind, unsigned low, std::size_t at)
{
    Part part {};
    switch (kind) {
    case kSimple:
        if (low != kFalse && low != kTrue)
            return nullptr;
        return adoptCF<CFTypeRef>(CFBooleanCreate(low == kTrue));
    case kInteger:
        return integer(low, at);
    case kReal:
    case kDate:
        return floating(kind, low, at);
    case kUid:
        return uid(low + 1, at);
    case kData:
        return takeCounted(low, at, 1, part) ? data(part) : nullptr;
    case kAsciiString:
        return takeCounted(low, at, 1, part) ? asciiString(part) : nullptr;
    case kUtf16String:
        return takeCounted(low, at, 2, part) ? utf16String(part) : nullptr;
    default:
        return nullptr;
    }
}

/// Integers of 1, 2 and 4 bytes have no sign; those of 8 and 16 bytes are in two's complement.
CFRef<CFTypeRef> BinaryList::integer(unsigned sizePower, std::size_t at)
{
    const std::size_t size = std::size_t(1) << sizePower;
    if (size > 16 || !take({at, size}))
        return nullptr;
    const UInt64 low = number(at, size);
    const bool negative = size >= 8 && (m_bytes[at] & 0x80) != 0;
    if (size == 16 && number(at, 8) != (negative ? ~UInt64(0) : 0))
        return nullptr;
    if (negative && low == 0)
        return nullptr; // -2^64, whose magnitude is not representable
    return propertyListInteger(negative, negative ? 0 - low : low);
}

CFRef<CFTypeRef> BinaryList::floating(UInt8 kind, unsigned sizePower, std::size_t at)
{
    const std::size_t size = std::size_t(1) << sizePower;
    if ((size != 4 && size != 8) || (kind == kDate && sizePower != kDateSize) || !take({at, size}))
        return nullptr;
    const UInt64 bits = number(at, size);
    const double value
        = size == 8 ? std::bit_cast<double>(bits) : double(std::bit_cast<float>(static_cast<UInt32>(bits)));
    if (kind == kReal)
        return adoptCF<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
    return std::isfinite(value) ? adoptCF<CFTypeRef>(CFDateCreate(kCFAllocatorDefault, value)) : nullptr;
}

CFRef<CFTypeRef> BinaryList::uid(std::size_t size, std::size_t at)
{
    if (size > 8 || !take({at, size}))
        return nullptr;
    const CFRef<CFTypeRef> value = propertyListInteger(false, number(at, size));
    const CFRef key = adoptCF(CFStringCreateWithView(u"CF$UID"));
    return adoptCF<CFTypeRef>(CFDictionaryCreateWithPairs({{key, value}}));
}

CFRef<CFTypeRef> BinaryList::data(Part part)
{
    return adoptCF<CFTypeRef>(
        CFDataCreate(kCFAllocatorDefault, m_bytes.data() + part.at, static_cast<CFIndex>(part.size)));
}

CFRef<CFTypeRef> BinaryList::asciiString(Part part)
{
    const std::span<const UInt8> bytes = m_bytes.subspan(part.at, part.size);
    if (std::any_of(bytes.begin(), bytes.end(), [](UInt8 byte) { return byte >= 0x80; }))
        return nullptr;
    return adoptCF<CFTypeRef>(CFStringCreateWithView(std::u16string(bytes.begin(), bytes.end())));
}

CFRef<CFTypeRef> BinaryList::utf16String(Part part)
{
    std::u16string text;
    text.reserve(part.size / 2);
    for (std::size_t i = 0; i < part.size; i += 2)
        text += static_cast<UniChar>(number(part.at + i, 2));
    return adoptCF<CFTypeRef>(CFStringCreateWithView(text));
}

/// Reads what an array's references name, or a dictionary's: first all keys, then as many values.
bool BinaryList::readContainer(Object& object, UInt8 kind, Part references, std::size_t level)
{
    std::vector<CFTypeRef> values;
    values.reserve(references.size / m_referenceSize);
    for (std::size_t i = 0; i < references.size; i += m_referenceSize) {
        const Object* child = objectAt(number(references.at + i, m_referenceSize), level + 1);
        if (!child)
            return false;
        object.valueCount += child->valueCount;
        object.levels = std::max(object.levels, child->levels + 1);
        if (object.valueCount > kMaxPropertyListValues || object.levels > kMaxPropertyListLevels)
            return false;
        values.push_back(child->value);
    }
    object.value = container(kind, values);
    return object.value != nullptr;
}

CFRef<CFTypeRef> BinaryList::container(UInt8 kind, const std::vector<CFTypeRef>& values) const
{
    if (kind == kArray)
        return adoptCF<CFTypeRef>(CFArrayCreateWithObjects(values));
    const std::size_t count = values.size() / 2;
    std::vector<std::pair<CFStringRef, CFTypeRef>> pairs;
    pairs.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        if (CFGetTypeID(values[i]) != CFStringGetTypeID())
            return nullptr;
        pairs.emplace_back(static_cast<CFStringRef>(values[i]), values[count + i]);
    }
    return adoptCF<CFTypeRef>(CFDictionaryCreateWithPairs(pairs));
}

} // namespace

CFRef<CFTypeRef> readBinaryPropertyList(std::span<const UInt8> bytes)
{
    return BinaryList(bytes).read();
}
