// The "%name%" substitutions of one descriptor.
#pragma once

#include "Platform/CoreFoundation/CFXMLNode.h"
#include "Platform/Lumen/LumString.h"
#include "Platform/Support/UniText.h"

#include <vector>

/// How many constants the blocks of one descriptor may define; further ones are left out. A descriptor needs
/// some tens.
inline constexpr std::size_t kMaxDescriptorConstants = 4096;
/// How many units all descriptors below one product may look at for their constants before these stop being
/// substituted, so that many constants in many texts cannot keep a check busy: some seconds. A large
/// descriptor needs some millions, one with 100,000 files a thousand millions.
inline constexpr UInt64 kMaxSearchedUnits = UInt64 {1} << 32;

/// One constant, copied by value.
struct tagStrCon {
    WideText name;         ///< the text to be replaced, percent signs included
    WideText value;        ///< the replacement
    bool valueCut = false; ///< the value was longer than its buffer, so that no path can be made with it
};

/// An ordered table; its order is the order of substitution, and a name may stand in it twice.
class CConstants {
public:
    /// Adds every well-formed "constant" child of `tree`. 1, or 0 when the node is not named "CONSTANTS":
    /// then nothing is added.
    int ParseConstants(CFTreeRef tree);
    void AddItem(const tagStrCon& item);
    /// Copies `src` to `dest` and substitutes every constant in it, cut at 1023 units. 0 when `src` is null:
    /// then `dest` is left as it is; otherwise 1. `src` may point into `dest`.
    int MappingConstants(WideText& dest, const UniChar* src) const;

    /// The same for a text of any length that stays in memory; as it is, once the table has stopped.
    CLumStringW mappedText(std::u16string_view text) const;
    /// The same for a path: false, and an empty path, when anything had to be cut on the way or the table has
    /// stopped.
    bool mapPath(std::u16string_view path, CLumStringW& mapped) const;
    /// The same where a path that does not fit is one that names nothing: it is empty.
    CLumStringW mappedPath(std::u16string_view path) const;

    /// How many units may still be looked at. A descriptor hands this on to the one that it points at, and
    /// takes back what that one left.
    UInt64 unitsLeft() const { return m_unitsLeft; }
    void setUnitsLeft(UInt64 units) { m_unitsLeft = units; }

    /// In the order of substitution.
    const std::vector<tagStrCon>& items() const { return m_items; }

private:
    bool spend(UInt64 units) const;
    bool staysAsItIs(std::u16string_view text) const;
    bool substituteAll(WideText& text) const;

    std::vector<tagStrCon> m_items;
    std::size_t m_parsed = 0; ///< how many of them the descriptor's own blocks defined
    /// Mutable, as it limits what substituting costs and not what it gives.
    mutable UInt64 m_unitsLeft = kMaxSearchedUnits;
};

enum class Replaced { Nothing, Whole, Cut };

/// Replaces every occurrence of `find` in `text` from the start to the end, case-sensitively, going on behind
/// each replacement; the result is cut at 1023 units. An empty `find` changes nothing. Says whether it
/// replaced and cut anything.
Replaced StrRplace(WideText& text, std::u16string_view find, std::u16string_view replacement);
