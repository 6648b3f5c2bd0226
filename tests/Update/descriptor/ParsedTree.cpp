#include "tests/Update/descriptor/ParsedTree.h"

#include "Update/descriptor/Constants.h"

ParsedTree::ParsedTree(std::string_view xml)
{
    const CFRef data = adoptCF(CFDataCreate(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(xml.data()), static_cast<CFIndex>(xml.size())));
    m_document = adoptCF(CFXMLTreeCreateFromData(
        kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
}

CFTreeRef ParsedTree::root() const
{
    for (CFIndex i = 0; m_document && i < CFTreeGetChildCount(m_document); ++i) {
        const CFTreeRef child = CFTreeGetChildAtIndex(m_document, i);
        if (CFXMLNodeGetTypeCode(CFXMLTreeGetNode(child)) == kCFXMLNodeTypeElement)
            return child;
    }
    return nullptr;
}

CConstants constantsWith(std::u16string_view name, std::u16string_view value)
{
    CConstants constants;
    tagStrCon item;
    item.name = WideText(name);
    item.value = WideText(value);
    constants.AddItem(item);
    return constants;
}
