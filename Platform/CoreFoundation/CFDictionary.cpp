// Immutable maps from text to objects.
#include "Platform/CoreFoundation/CFDictionary.h"

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/Support/Assertion.h"

#include <algorithm>
#include <limits>
#include <map>

namespace {

struct DictionaryEntry {
    CFRef<CFStringRef> key; ///< keeps the text that the map's own key looks at
    CFRef<CFTypeRef> value;
};

using DictionaryEntries = std::map<std::u16string_view, DictionaryEntry>;

} // namespace

struct __CFDictionary final : CFObject {
    __CFDictionary()
        : CFObject(kCFRuntimeDictionary)
    {
    }
    bool isEqual(const CFObject& other) const override;

    DictionaryEntries m_entries;
};

bool __CFDictionary::isEqual(const CFObject& other) const
{
    const DictionaryEntries& others = static_cast<const __CFDictionary&>(other).m_entries;
    return std::equal(
        m_entries.begin(), m_entries.end(), others.begin(), others.end(), [](const auto& a, const auto& b) {
            return a.first == b.first && CFEqual(a.second.value.get(), b.second.value.get());
        });
}

CFTypeID CFDictionaryGetTypeID()
{
    return kCFRuntimeDictionary;
}

CFDictionaryRef CFDictionaryCreateWithPairs(const std::vector<std::pair<CFStringRef, CFTypeRef>>& pairs)
{
    VELMORA_ASSERT(pairs.size() <= static_cast<std::size_t>(std::numeric_limits<CFIndex>::max()));
    auto* dictionary = new __CFDictionary;
    for (const auto& [key, value] : pairs) {
        VELMORA_ASSERT(key != nullptr && value != nullptr);
        // An equal key that is there already stays: the map looks at its text.
        const auto [entry, isNew] = dictionary->m_entries.try_emplace(CFStringGetView(key));
        if (isNew)
            entry->second.key = retainCF(key);
        entry->second.value = retainCF(value);
    }
    return dictionary;
}

CFTypeRef CFDictionaryGetValue(CFDictionaryRef dictionary, std::u16string_view key)
{
    const auto entry = dictionary->m_entries.find(key);
    return entry == dictionary->m_entries.end() ? nullptr : entry->second.value.get();
}
