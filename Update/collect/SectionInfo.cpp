#include "Update/collect/SectionInfo.h"

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/Support/Unicode.h"
#include "Update/collect/XMLDocument.h"

#include <string>

namespace {

CFRef<CFXMLTreeRef> readTree(CFURLRef bundle)
{
    const CFRef name = adoptCF(CFStringCreateWithView(u"sections"));
    const CFRef type = adoptCF(CFStringCreateWithView(u"xml"));
    const CFRef url = adoptCF(CFBundleCopyResourceURLInDirectory(bundle, name, type, nullptr));
    const CFRef path = url ? adoptCF(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle)) : nullptr;
    if (!path)
        return nullptr;
    const LumFSRefOwner file(Lum0FSRCreateWithPath(std::u16string(CFStringGetView(path)).c_str()));
    return readXMLDocument(file.get(), kMaxSectionListBytes).tree;
}

bool isElementNamed(CFTreeRef tree, std::u16string_view name)
{
    const CFXMLNodeRef node = CFXMLTreeGetNode(tree);
    return CFXMLNodeGetTypeCode(node) == kCFXMLNodeTypeElement
        && equalIgnoringCase(CFStringGetView(CFXMLNodeGetString(node)), name);
}

/// The first child that is an element of that name, or null.
CFTreeRef findChild(CFTreeRef tree, std::u16string_view name)
{
    for (CFIndex i = 0; i < CFTreeGetChildCount(tree); ++i) {
        const CFTreeRef child = CFTreeGetChildAtIndex(tree, i);
        if (isElementNamed(child, name))
            return child;
    }
    return nullptr;
}

/// False when an attribute is missing.
bool readSection(CFTreeRef element, SectInfo& section)
{
    const auto* const info
        = static_cast<const CFXMLElementInfo*>(CFXMLNodeGetInfoPtr(CFXMLTreeGetNode(element)));
    if (!info->attributes)
        return false;
    const auto attribute = [info](std::u16string_view name) {
        return static_cast<CFStringRef>(CFDictionaryGetValue(info->attributes, name));
    };
    const CFStringRef id = attribute(u"ID");
    const CFStringRef language = attribute(u"language");
    const CFStringRef version = attribute(u"version");
    if (!id || !language || !version)
        return false;
    section.ID = CFStringGetIntValue(id);
    section.language.assign(CFStringGetView(language));
    WideText scratch(CFStringGetView(version));
    return CheckVersionSupport(section.version.data(), scratch.data()) != 0;
}

} // namespace

int ReadBundleSectionInfo(CFURLRef bundle, std::vector<SectInfo>& sections)
{
    const CFRef document = readTree(bundle);
    const CFTreeRef list = document ? findChild(document, u"SECTIONS") : nullptr;
    if (!list)
        return 0;
    for (CFIndex i = 0; i < CFTreeGetChildCount(list); ++i) {
        const CFTreeRef child = CFTreeGetChildAtIndex(list, i);
        SectInfo section;
        if (isElementNamed(child, u"SECTION") && readSection(child, section))
            sections.push_back(section);
    }
    return 1;
}
