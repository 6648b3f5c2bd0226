// Values to compare property lists with, and lists in the binary form made byte by byte.
#include "tests/Platform/CoreFoundation/PropertyListSupport.h"

#include "Platform/CoreFoundation/CFPropertyListReading.h"

namespace property_list {

Value text(std::u16string_view value)
{
    return adoptCF<CFTypeRef>(CFStringCreateWithView(value));
}

Value integer(SInt64 value)
{
    return adoptCF<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt64Type, &value));
}

Value real(double value)
{
    return adoptCF<CFTypeRef>(CFNumberCreate(kCFAllocatorDefault, kCFNumberDoubleType, &value));
}

Value boolean(bool value)
{
    return adoptCF<CFTypeRef>(CFBooleanCreate(value));
}

Value date(double value)
{
    return adoptCF<CFTypeRef>(CFDateCreate(kCFAllocatorDefault, value));
}

Value blob(std::string_view bytes)
{
    return adoptCF<CFTypeRef>(CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
        static_cast<CFIndex>(bytes.size())));
}

Value array(const std::vector<Value>& values)
{
    return adoptCF<CFTypeRef>(CFArrayCreateWithObjects({values.begin(), values.end()}));
}

Value dictionary(const std::vector<std::pair<std::u16string, Value>>& pairs)
{
    std::vector<CFRef<CFStringRef>> keys;
    std::vector<std::pair<CFStringRef, CFTypeRef>> entries;
    for (const auto& [key, value] : pairs) {
        keys.push_back(adoptCF(CFStringCreateWithView(key)));
        entries.emplace_back(keys.back(), value);
    }
    return adoptCF<CFTypeRef>(CFDictionaryCreateWithPairs(entries));
}

Value read(std::string_view bytes)
{
    return readPropertyList({reinterpret_cast<const UInt8*>(bytes.data()), bytes.size()});
}

bool reads(std::string_view list, const Value& expected)
{
    const Value value = read(list);
    return value && CFEqual(value, expected);
}

std::string xml(std::string_view element)
{
    return "<plist version=\"1.0\">" + std::string(element) + "</plist>";
}

BinaryList& BinaryList::object(std::string bytes)
{
    m_objects.push_back(std::move(bytes));
    return *this;
}

std::string BinaryList::bytes(unsigned root) const
{
    std::string list = "bplist00";
    std::string table;
    for (const std::string& object : m_objects) {
        table += bigEndian(list.size(), m_offsetSize);
        list += object;
    }
    const std::size_t tableAt = list.size();
    return list + table + std::string(6, '\0') + bigEndian(m_offsetSize, 1) + bigEndian(m_referenceSize, 1)
        + bigEndian(m_objects.size(), 8) + bigEndian(root, 8) + bigEndian(tableAt, 8);
}

std::string bigEndian(UInt64 value, unsigned size)
{
    std::string bytes;
    for (unsigned i = 0; i < size; ++i)
        bytes.insert(bytes.begin(), static_cast<char>(value >> (8 * i)));
    return bytes;
}

} // namespace property_list
