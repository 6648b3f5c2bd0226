// Property lists in XML: the values of <plist>, built as their elements end.
#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFNumber.h"
#include "Platform/CoreFoundation/CFPropertyListReading.h"
#include "Platform/CoreFoundation/XMLReader.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

namespace {

enum class Kind { Plist, Dictionary, Array, Key, String, Integer, Real, Date, Data, True, False };

struct KindName {
    std::string_view name;
    Kind kind;
};

constexpr std::array kKindNames = {
    KindName {"plist", Kind::Plist},
    KindName {"dict", Kind::Dictionary},
    KindName {"array", Kind::Array},
    KindName {"key", Kind::Key},
    KindName {"string", Kind::String},
    KindName {"integer", Kind::Integer},
    KindName {"real", Kind::Real},
    KindName {"date", Kind::Date},
    KindName {"data", Kind::Data},
    KindName {"true", Kind::True},
    KindName {"false", Kind::False},
};

/// An element that has begun and not ended.
struct OpenElement {
    Kind kind;
    std::u16string text; ///< of an element that holds a value's text
    std::vector<CFRef<CFStringRef>>
        keys; ///< of a dictionary; one more than `values` while a value is awaited
    std::vector<CFRef<CFTypeRef>> values; ///< of a dictionary, an array or the list itself
};

bool holdsValues(Kind kind)
{
    return kind == Kind::Plist || kind == Kind::Dictionary || kind == Kind::Array;
}

bool isWhiteSpace(std::u16string_view text)
{
    return text.find_first_not_of(u" \t\r\n") == std::u16string_view::npos;
}

/// The value that an element's end completes; null when its text is not of its kind.
CFRef<CFTypeRef> valueOf(const OpenElement& element)
{
    switch (element.kind) {
    case Kind::Dictionary: {
        std::vector<std::pair<CFStringRef, CFTypeRef>> pairs;
        for (std::size_t i = 0; i < element.values.size(); ++i)
            pairs.emplace_back(element.keys[i], element.values[i]);
        return adoptCF<CFTypeRef>(CFDictionaryCreateWithPairs(pairs));
    }
    case Kind::Array:
        return adoptCF<CFTypeRef>(CFArrayCreateWithObjects({element.values.begin(), element.values.end()}));
    case Kind::String:
        return adoptCF<CFTypeRef>(CFStringCreateWithView(element.text));
    case Kind::Integer:
        return integerFromText(element.text);
    case Kind::Real:
        return realFromText(element.text);
    case Kind::Date:
        return dateFromText(element.text);
    case Kind::Data:
        return dataFromText(element.text);
    case Kind::True:
    case Kind::False:
        return adoptCF<CFTypeRef>(CFBooleanCreate(element.kind == Kind::True));
    case Kind::Plist:
    case Kind::Key:
        break;
    }
    return nullptr;
}

class ListBuilder final : public XMLHandler {
public:
    CFRef<CFTypeRef> takeRoot() { return std::move(m_root); }

    bool startElement(std::string_view name, std::span<const char* const>) override
    {
        const auto known = std::find_if(kKindNames.begin(), kKindNames.end(),
            [name](const KindName& entry) { return entry.name == name; });
        if (known == kKindNames.end() || !mayStart(known->kind))
            return false;
        m_open.push_back({known->kind, {}, {}, {}});
        return true;
    }

    bool endElement() override
    {
        const OpenElement element = std::move(m_open.back());
        m_open.pop_back();
        if (element.kind == Kind::Plist) {
            if (element.values.size() == 1)
                m_root = element.values.front();
            return m_root != nullptr;
        }
        OpenElement& holder = m_open.back();
        if (element.kind == Kind::Key) {
            holder.keys.push_back(adoptCF(CFStringCreateWithView(element.text)));
            return true;
        }
        if (element.kind == Kind::Dictionary && element.keys.size() != element.values.size())
            return false;
        CFRef<CFTypeRef> value = valueOf(element);
        if (!value)
            return false;
        holder.values.push_back(std::move(value));
        return true;
    }

    bool text(std::u16string_view text) override
    {
        OpenElement& element = m_open.back();
        if (holdsValues(element.kind) || element.kind == Kind::True || element.kind == Kind::False)
            return isWhiteSpace(text);
        element.text += text;
        return true;
    }
    bool cdata(std::u16string_view text) override { return this->text(text); }
    bool comment(std::string_view) override { return true; }
    bool processingInstruction(std::string_view) override { return true; }
    bool documentType(std::string_view) override { return true; }

private:
    /// True when an element of that kind may stand where the reading is, within the bounds.
    bool mayStart(Kind kind)
    {
        if (m_open.empty() || kind == Kind::Plist)
            return m_open.empty() && kind == Kind::Plist;
        // The list itself is open too, so a value on level N begins with N elements open.
        if (++m_valueCount > kMaxPropertyListValues || m_open.size() > kMaxPropertyListLevels)
            return false;
        const OpenElement& holder = m_open.back();
        if (holder.kind == Kind::Dictionary)
            return (kind == Kind::Key) == (holder.keys.size() == holder.values.size());
        return holdsValues(holder.kind) && kind != Kind::Key;
    }

    std::vector<OpenElement> m_open;
    CFRef<CFTypeRef> m_root;
    std::size_t m_valueCount = 0;
};

} // namespace

CFRef<CFTypeRef> readXMLPropertyList(std::span<const UInt8> bytes)
{
    ListBuilder builder;
    return readXML(bytes, builder) ? builder.takeRoot() : nullptr;
}
