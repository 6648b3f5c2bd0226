// Bounded wide text: the fixed, zero-filled UTF-16 buffers that names, paths, URLs and messages are held in.
#pragma once

#include "Platform/Support/Types.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

/// Zero-terminated UTF-16 text of at most N-1 units. What does not fit is cut at N-1 units, never inside a
/// surrogate pair; the rest of the buffer is always zero. A value copied in ends at its first zero unit.
template <std::size_t N> class UniText {
    static_assert(N >= 2);

public:
    static constexpr std::size_t kCapacity = N; ///< in units, the terminating zero included

    constexpr UniText() = default;
    UniText(std::u16string_view text) { assign(text); }
    UniText(const UniChar* text) { assign(text); }

    /// Replaces the text; null gives the empty text. Returns false when it was cut.
    bool assign(const UniChar* text)
    {
        return assign(text ? std::u16string_view(text) : std::u16string_view());
    }
    bool assign(std::u16string_view text)
    {
        // The source may be a part of this very buffer: move first, clear what is left afterwards.
        text = text.substr(0, text.find(u'\0'));
        const std::size_t kept = fitting(text, N - 1);
        std::copy(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(kept), m_units.begin());
        std::fill(m_units.begin() + static_cast<std::ptrdiff_t>(kept), m_units.end(), u'\0');
        return kept == text.size();
    }

    /// Adds `text` at the end. Returns false when it was cut.
    bool append(std::u16string_view text)
    {
        text = text.substr(0, text.find(u'\0'));
        const std::size_t used = size();
        const std::size_t kept = fitting(text, N - 1 - used);
        std::copy(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(kept),
            m_units.begin() + static_cast<std::ptrdiff_t>(used));
        return kept == text.size();
    }

    void clear() { m_units.fill(u'\0'); }
    bool empty() const { return m_units[0] == u'\0'; }
    /// In units, the terminating zero not counted.
    std::size_t size() const { return view().size(); }
    const UniChar* c_str() const { return m_units.data(); }
    std::u16string_view view() const { return std::u16string_view(m_units.data()); }
    operator std::u16string_view() const { return view(); }

    /// The raw buffer of N units, for callers that fill or cut it in place; the last unit must stay zero.
    UniChar* data() { return m_units.data(); }

    friend bool operator==(const UniText& a, const UniText& b) { return a.view() == b.view(); }
    friend bool operator==(const UniText& a, std::u16string_view b) { return a.view() == b; }

private:
    static std::size_t fitting(std::u16string_view text, std::size_t room)
    {
        if (text.size() <= room)
            return text.size();
        const std::u16string_view kept = text.substr(0, room);
        const bool splitsPair = !kept.empty() && kept.back() >= 0xD800 && kept.back() <= 0xDBFF;
        return splitsPair ? kept.size() - 1 : kept.size();
    }

    std::array<UniChar, N> m_units {};
};

/// Names, paths, URLs and message texts.
using WideText = UniText<1024>;
/// A version as a product's property list writes it.
using VersionText = UniText<64>;
/// A language code.
using LanguageText = UniText<32>;
