#include "Update/descriptor/Constants.h"

#include "Update/descriptor/ElementReader.h"

#include <algorithm>
#include <string>

namespace {

/// What looking for one constant counts for beside the units compared, and what putting it in counts for.
constexpr UInt64 kUnitsPerSearch = 16;
constexpr UInt64 kUnitsPerReplacement = WideText::kCapacity;

/// Where `text` holds `find`, which is not empty, at or after `from`; npos when it does not. Adds to `cost`
/// every unit that is looked at: a text and a name may be made to agree for long in many places.
std::size_t findFrom(std::u16string_view text, std::u16string_view find, std::size_t from, UInt64& cost)
{
    cost += text.size() - from + find.size() + kUnitsPerSearch;
    while (find.size() <= text.size() - from) {
        const std::size_t at = text.find(find.front(), from);
        if (at == std::u16string_view::npos || find.size() > text.size() - at)
            break;
        const auto differs
            = std::mismatch(find.begin(), find.end(), text.begin() + static_cast<std::ptrdiff_t>(at));
        cost += static_cast<UInt64>(differs.first - find.begin());
        if (differs.first == find.end())
            return at;
        from = at + 1;
    }
    return std::u16string_view::npos;
}

Replaced replaceAll(WideText& text, std::u16string_view find, std::u16string_view replacement, UInt64& cost)
{
    const std::u16string_view whole = text.view();
    std::size_t match = find.empty() ? std::u16string_view::npos : findFrom(whole, find, 0, cost);
    if (match == std::u16string_view::npos)
        return Replaced::Nothing;

    cost += kUnitsPerReplacement;
    std::u16string result;
    std::size_t from = 0;
    while (match != std::u16string_view::npos && result.size() < WideText::kCapacity) {
        result += whole.substr(from, match - from);
        result += replacement;
        from = match + find.size();
        match = findFrom(whole, find, from, cost);
    }
    result += whole.substr(from);
    return text.assign(result) ? Replaced::Whole : Replaced::Cut;
}

} // namespace

int CConstants::ParseConstants(CFTreeRef tree)
{
    if (!isNamed(tree, u"CONSTANTS"))
        return 0;
    for (const CFTreeRef child : TreeChildren(tree)) {
        const CFDictionaryRef attributes = attributesOf(child);
        if (!attributes || !isNamed(child, u"constant"))
            continue;
        if (m_parsed == kMaxDescriptorConstants)
            break;
        tagStrCon item;
        (void)item.name.assign(attributeOrEmpty(attributes, u"name")); // a cut name matches what it holds
        item.valueCut = !item.value.assign(attributeOrEmpty(attributes, u"value"));
        AddItem(item);
        ++m_parsed;
    }
    return 1;
}

void CConstants::AddItem(const tagStrCon& item)
{
    m_items.push_back(item);
}

int CConstants::MappingConstants(WideText& dest, const UniChar* src) const
{
    if (!src)
        return 0;
    (void)dest.assign(src); // this operation cuts; mappedPath is the one that refuses to
    (void)substituteAll(dest);
    return 1;
}

CLumStringW CConstants::mappedText(std::u16string_view text) const
{
    if (staysAsItIs(text))
        return CLumStringW(text);
    WideText mapped(text);
    (void)substituteAll(mapped); // what does not fit is cut
    return CLumStringW(mapped.view());
}

bool CConstants::mapPath(std::u16string_view path, CLumStringW& mapped) const
{
    if (staysAsItIs(path)) {
        mapped = CLumStringW(path);
        return true;
    }
    WideText text;
    const bool fits = text.assign(path) && substituteAll(text);
    mapped = fits ? CLumStringW(text.view()) : CLumStringW();
    return fits;
}

CLumStringW CConstants::mappedPath(std::u16string_view path) const
{
    CLumStringW mapped;
    (void)mapPath(path, mapped); // it is empty then
    return mapped;
}

/// Takes so much off what is left; false once nothing is.
bool CConstants::spend(UInt64 units) const
{
    m_unitsLeft -= std::min(units, m_unitsLeft);
    return m_unitsLeft > 0;
}

/// True for a text that fits and holds no constant's name: most texts, which so need no buffer.
bool CConstants::staysAsItIs(std::u16string_view text) const
{
    if (text.size() >= WideText::kCapacity)
        return false;
    for (const tagStrCon& item : m_items) {
        UInt64 cost = 0;
        const std::u16string_view name = item.name;
        const bool isIn = !name.empty() && findFrom(text, name, 0, cost) != std::u16string_view::npos;
        if (!spend(cost) || isIn)
            return false;
    }
    return true;
}

/// False when a result, or a value that was put in, had to be cut, and at the limit.
bool CConstants::substituteAll(WideText& text) const
{
    bool whole = true;
    for (const tagStrCon& item : m_items) {
        if (m_unitsLeft == 0)
            return false;
        UInt64 cost = 0;
        const Replaced replaced = replaceAll(text, item.name, item.value, cost);
        (void)spend(cost); // looked at before the next constant
        if (replaced == Replaced::Cut || (replaced == Replaced::Whole && item.valueCut))
            whole = false;
    }
    return whole;
}

Replaced StrRplace(WideText& text, std::u16string_view find, std::u16string_view replacement)
{
    UInt64 cost = 0;
    return replaceAll(text, find, replacement, cost);
}
