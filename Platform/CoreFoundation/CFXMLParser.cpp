// Builds a document's tree from the reader's events.
#include "Platform/CoreFoundation/CFXMLTree.h"
#include "Platform/CoreFoundation/XMLReader.h"
#include "Platform/Support/Assertion.h"
#include "Platform/Support/Unicode.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

/// Nodes and attributes together.
constexpr std::size_t kMaxNodes = 3'000'000;
constexpr std::size_t kMaxLevels = 100'000;
/// How many names are kept to be shared; documents have some tens.
constexpr std::size_t kMaxSharedNames = 1'000;

CFRef<CFStringRef> stringFromUtf8(std::string_view text)
{
    return adoptCF(CFStringCreateWithView(wideFromUtf8(text)));
}

bool isWhiteSpace(std::u16string_view text)
{
    return std::all_of(text.begin(), text.end(),
        [](UniChar unit) { return unit == u' ' || unit == u'\t' || unit == u'\n' || unit == u'\r'; });
}

/// The names of elements and attributes: those of one spelling share one string, as a document has a few
/// names in many places.
class NameTable {
public:
    CFRef<CFStringRef> stringFor(std::string_view name)
    {
        const auto known = m_strings.find(name);
        if (known != m_strings.end())
            return known->second;
        CFRef<CFStringRef> string = stringFromUtf8(name);
        if (m_strings.size() < kMaxSharedNames)
            m_strings.emplace(name, string);
        return string;
    }

private:
    std::map<std::string, CFRef<CFStringRef>, std::less<>> m_strings;
};

CFRef<CFDictionaryRef> attributesFrom(std::span<const char* const> attributes, NameTable& names)
{
    if (attributes.empty())
        return nullptr;
    std::vector<CFRef<CFStringRef>> owners;
    std::vector<std::pair<CFStringRef, CFTypeRef>> pairs;
    for (std::size_t i = 0; i + 1 < attributes.size(); i += 2) {
        owners.push_back(names.stringFor(attributes[i]));
        owners.push_back(stringFromUtf8(attributes[i + 1]));
        pairs.emplace_back(owners[i], owners[i + 1]);
    }
    return adoptCF(CFDictionaryCreateWithPairs(pairs));
}

class TreeBuilder final : public XMLHandler {
public:
    TreeBuilder()
        : m_document(adoptCF(
            new __CFTree(kCFXMLNodeTypeDocument, adoptCF(CFStringCreateWithView(std::u16string_view())))))
        , m_open {m_document}
    {
    }

    CFRef<__CFTree*> takeDocument() { return std::move(m_document); }

    bool startElement(std::string_view name, std::span<const char* const> attributes) override
    {
        m_nodeCount += attributes.size() / 2;
        if (m_open.size() > kMaxLevels || m_nodeCount > kMaxNodes)
            return false;
        if (!add(kCFXMLNodeTypeElement, m_names.stringFor(name), attributesFrom(attributes, m_names)))
            return false;
        m_open.push_back(m_open.back()->m_children.back());
        return true;
    }
    bool endElement() override
    {
        m_open.pop_back();
        return true;
    }
    bool text(std::u16string_view text) override
    {
        return isWhiteSpace(text) || add(kCFXMLNodeTypeText, adoptCF(CFStringCreateWithView(text)));
    }
    bool cdata(std::u16string_view text) override
    {
        return add(kCFXMLNodeTypeCDATASection, adoptCF(CFStringCreateWithView(text)));
    }
    bool comment(std::string_view text) override { return add(kCFXMLNodeTypeComment, stringFromUtf8(text)); }
    bool processingInstruction(std::string_view target) override
    {
        return add(kCFXMLNodeTypeProcessingInstruction, stringFromUtf8(target));
    }
    bool documentType(std::string_view name) override
    {
        return add(kCFXMLNodeTypeDocumentType, stringFromUtf8(name));
    }

private:
    bool add(CFXMLNodeTypeCode type, CFRef<CFStringRef> string, CFRef<CFDictionaryRef> attributes = nullptr)
    {
        if (++m_nodeCount > kMaxNodes)
            return false;
        m_open.back()->m_children.push_back(
            adoptCF(new __CFTree(type, std::move(string), std::move(attributes))));
        return true;
    }

    CFRef<__CFTree*> m_document;
    std::vector<__CFTree*> m_open; ///< from the document to the innermost element that is open
    NameTable m_names;
    std::size_t m_nodeCount = 0;
};

} // namespace

CFXMLTreeRef CFXMLTreeCreateFromData(
    CFAllocatorRef, CFDataRef data, CFURLRef dataSource, CFOptionFlags options, CFIndex version)
{
    VELMORA_ASSERT(dataSource == nullptr);
    VELMORA_ASSERT(options == kCFXMLParserSkipWhitespace);
    VELMORA_ASSERT(version == kCFXMLNodeCurrentVersion);
    if (!data)
        return nullptr;
    TreeBuilder builder;
    if (!readXML({CFDataGetBytePtr(data), static_cast<std::size_t>(CFDataGetLength(data))}, builder))
        return nullptr;
    const CFRef<__CFTree*> document = builder.takeDocument();
    CFRetain(document);
    return document;
}
