// The "%name%" substitutions of one descriptor.
#pragma once

#include "Platform/CoreFoundation/CFXMLNode.h"
#include "Platform/Support/UniText.h"

#include <vector>

/// One constant, copied by value.
struct tagStrCon {
    WideText name; ///< the text to be replaced, percent signs included
    WideText value; ///< the replacement
};

/// An ordered table; its order is the order of substitution, and a name may stand in it twice.
class CConstants {
public:
    /// Adds every well-formed "constant" child of `tree`. 1, or 0 when the node is not named "CONSTANTS": then nothing is added.
    int ParseConstants(CFTreeRef tree);
    void AddItem(const tagStrCon& item);
    /// Copies `src` to `dest` and substitutes every constant in it, cut at 1023 units. 0 when `src` is null: then `dest` is left as
    /// it is; otherwise 1. `src` may point into `dest`.
    int MappingConstants(WideText& dest, const UniChar* src) const;
    /// In the order of substitution.
    const std::vector<tagStrCon>& items() const { return m_items; }

private:
    std::vector<tagStrCon> m_items;
};

/// Replaces every occurrence of `find` in `text` from the start to the end, case-sensitively, going on behind each replacement; the result is
/// cut at 1023 units. An empty `find` changes nothing.
void StrRplace(WideText& text, std::u16string_view find, std::u16string_view replacement);
