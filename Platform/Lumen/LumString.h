// The toolkit's growable wide string and its wide-string functions.
#pragma once

#include "Platform/Support/Types.h"

#include <string>
#include <string_view>

/// Wide text without a fixed bound, used where a text must outlive a buffer.
class CLumStringW {
public:
    CLumStringW() = default;
    CLumStringW(std::u16string_view text)
        : m_text(text)
    {
    }
    CLumStringW(const UniChar* text)
        : m_text(text ? text : u"")
    {
    }

    bool empty() const { return m_text.empty(); }
    /// In units.
    std::size_t size() const { return m_text.size(); }
    const UniChar* c_str() const { return m_text.c_str(); }
    std::u16string_view view() const { return m_text; }
    operator std::u16string_view() const { return m_text; }
    void clear() { m_text.clear(); }
    CLumStringW& operator+=(std::u16string_view text)
    {
        m_text += text;
        return *this;
    }
    friend bool operator==(const CLumStringW& a, const CLumStringW& b) { return a.m_text == b.m_text; }
    friend bool operator==(const CLumStringW& a, std::u16string_view b) { return a.m_text == b; }

private:
    std::u16string m_text;
};

/// -1, 0 or 1: the order of two zero-terminated texts by code unit, ignoring case. Null counts as the empty
/// text.
SInt32 lum_wcscmpi(const UniChar* a, const UniChar* b);
