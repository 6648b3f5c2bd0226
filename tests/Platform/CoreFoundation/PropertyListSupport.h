// Values to compare property lists with, and lists in the binary form made byte by byte.
#pragma once

#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFDate.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFPropertyList.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace property_list {

using Value = CFRef<CFTypeRef>;

Value text(std::u16string_view value);
Value integer(SInt64 value);
Value real(double value);
Value boolean(bool value);
/// Seconds since 2001-01-01 00:00:00 UTC.
Value date(double value);
Value blob(std::string_view bytes);
Value array(const std::vector<Value>& values);
Value dictionary(const std::vector<std::pair<std::u16string, Value>>& pairs);

Value read(std::string_view bytes);
/// True when `list` can be read and is equal to `expected`.
bool reads(std::string_view list, const Value& expected);
/// The XML list of one value, which is given as its element.
std::string xml(std::string_view element);

/// Makes a list in the binary form out of objects given as their bytes.
class BinaryList {
public:
    /// Adds an object; its number is how many were added before.
    BinaryList& object(std::string bytes);
    /// The whole list; `root` is the number of its value.
    std::string bytes(unsigned root = 0) const;

    unsigned m_offsetSize = 2;    ///< in bytes
    unsigned m_referenceSize = 1; ///< in bytes; the objects' references must be of that size

private:
    std::vector<std::string> m_objects;
};

/// `value` as `size` bytes, the highest first.
std::string bigEndian(UInt64 value, unsigned size);

} // namespace property_list
