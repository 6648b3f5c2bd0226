#include "Update/descriptor/Constants.h"

#include "Update/descriptor/ElementReader.h"

#include <algorithm>
#include <string>

namespace {

/// What looking for one constant counts for beside the text's length, and what putting it in counts for.
constexpr std::size_t kUnitsPerConstant = 16;
constexpr std::size_t kUnitsPerReplacement = 4 * WideText::kCapacity;

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

/// Counts the search for so many constants in a text of so many units; false once the limit is passed.
bool CConstants::mayVisit(std::size_t constants, std::size_t units) const
{
    if (m_visitedUnits <= kMaxVisitedUnits)
        m_visitedUnits += UInt64 {constants} * (units + kUnitsPerConstant);
    return m_visitedUnits <= kMaxVisitedUnits;
}

/// True for a text that fits and holds no constant's name: most texts, which so need no buffer.
bool CConstants::staysAsItIs(std::u16string_view text) const
{
    const auto isIn = [text](const tagStrCon& item) {
        return !item.name.empty() && text.find(item.name.view()) != std::u16string_view::npos;
    };
    return text.size() < WideText::kCapacity && mayVisit(m_items.size(), text.size())
        && std::none_of(m_items.begin(), m_items.end(), isIn);
}

/// False when a result, or a value that was put in, had to be cut, and at the limit.
bool CConstants::substituteAll(WideText& text) const
{
    bool whole = true;
    for (const tagStrCon& item : m_items) {
        if (!mayVisit(1, text.size()))
            return false;
        const Replaced replaced = StrRplace(text, item.name, item.value);
        if (replaced != Replaced::Nothing)
            m_visitedUnits += kUnitsPerReplacement;
        if (replaced == Replaced::Cut || (replaced == Replaced::Whole && item.valueCut))
            whole = false;
    }
    return whole;
}

Replaced StrRplace(WideText& text, std::u16string_view find, std::u16string_view replacement)
{
    const std::u16string_view whole = text.view();
    std::size_t match = find.empty() ? std::u16string_view::npos : whole.find(find);
    if (match == std::u16string_view::npos)
        return Replaced::Nothing;

    std::u16string result;
    std::size_t from = 0;
    while (match != std::u16string_view::npos && result.size() < WideText::kCapacity) {
        result += whole.substr(from, match - from);
        result += replacement;
        from = match + find.size();
        match = whole.find(find, from);
    }
    result += whole.substr(from);
    return text.assign(result) ? Replaced::Whole : Replaced::Cut;
}
