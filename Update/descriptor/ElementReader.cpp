#include "Update/descriptor/ElementReader.h"

#include "Platform/Support/UniText.h"
#include "Platform/Support/Unicode.h"

bool isNamed(CFTreeRef tree, std::u16string_view name)
{
    return tree && equalIgnoringCase(CFStringGetView(CFXMLNodeGetString(CFXMLTreeGetNode(tree))), name);
}

bool isElement(CFTreeRef tree)
{
    return tree && CFXMLNodeGetTypeCode(CFXMLTreeGetNode(tree)) == kCFXMLNodeTypeElement;
}

CFDictionaryRef attributesOf(CFTreeRef tree)
{
    if (!isElement(tree))
        return nullptr;
    return static_cast<const CFXMLElementInfo*>(CFXMLNodeGetInfoPtr(CFXMLTreeGetNode(tree)))->attributes;
}

std::optional<std::u16string_view> attribute(CFDictionaryRef attributes, std::u16string_view name)
{
    const CFTypeRef value = attributes ? CFDictionaryGetValue(attributes, name) : nullptr;
    if (!value)
        return std::nullopt;
    return CFStringGetView(static_cast<CFStringRef>(value));
}

std::u16string_view attributeOrEmpty(CFDictionaryRef attributes, std::u16string_view name)
{
    return attribute(attributes, name).value_or(std::u16string_view());
}

std::optional<KeyElement> keyElement(CFTreeRef tree)
{
    if (!isElement(tree) || attributesOf(tree) || CFTreeGetChildCount(tree) != 1)
        return std::nullopt;
    return KeyElement {CFStringGetView(CFXMLNodeGetString(CFXMLTreeGetNode(tree))),
        CFStringGetView(CFXMLNodeGetString(CFXMLTreeGetNode(CFTreeGetChildAtIndex(tree, 0))))};
}

CLumStringW boundedText(std::u16string_view text)
{
    return text.size() < WideText::kCapacity ? CLumStringW(text) : CLumStringW(WideText(text).view());
}

Version versionOf(std::u16string_view text)
{
    Version version {};
    WideText scratch(text);
    (void)CheckVersionSupport(version.data(), scratch.data()); // always 1: whatever is no version is 0.0.0.0
    return version;
}

void readFlag(std::u16string_view value, SInt32& flag)
{
    if (equalIgnoringCase(value, u"true"))
        flag = 1;
    else if (equalIgnoringCase(value, u"false"))
        flag = 0;
}
