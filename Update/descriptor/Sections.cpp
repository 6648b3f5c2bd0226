#include "Update/descriptor/Sections.h"

#include "Platform/Carbon/FSRef.h"
#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"

int CSect::Parse(CFTreeRef tree, const CConstants* constants)
{
    if (!isNamed(tree, u"SECTION"))
        return 0;
    const CFDictionaryRef attributes = attributesOf(tree);
    if (!attributes)
        return 1;
    if (const auto id = attribute(attributes, u"section"))
        sectionId = leadingInteger(*id);
    name = boundedText(attributeOrEmpty(attributes, u"name"));
    readFlag(attributeOrEmpty(attributes, u"check"), check);
    // The default language is lost on purpose when there are attributes, but no language.
    language = boundedText(attributeOrEmpty(attributes, u"language"));
    version = versionOf(attributeOrEmpty(attributes, u"version"));
    readFlag(attributeOrEmpty(attributes, u"enabled"), enabled);
    link = constants->mappedText(attributeOrEmpty(attributes, u"link"));
    site = boundedText(attributeOrEmpty(attributes, u"site"));
    url = boundedText(attributeOrEmpty(attributes, u"url"));
    description = boundedText(attributeOrEmpty(attributes, u"description"));
    size = leadingInteger(attributeOrEmpty(attributes, u"size"));
    location = constants->mappedPath(attributeOrEmpty(attributes, u"location"));
    return 1;
}

int CSects::ParseSects(CFTreeRef tree, const CConstants* constants)
{
    if (!isNamed(tree, u"SECTIONS"))
        return 0;
    for (const CFTreeRef child : TreeChildren(tree)) {
        if (!isNamed(child, u"SECTION"))
            continue;
        auto sect = std::make_unique<CSect>();
        if (sect->Parse(child, constants) != 0 && SectionCanUpdate(sect.get()) != 0)
            AddSectItem(std::move(sect));
    }
    return 1;
}

void CSects::AddSectItem(std::unique_ptr<CSect> sect)
{
    m_items.push_back(std::move(sect));
}

int CSects::SectionCanUpdate(const CSect* sect) const
{
    FSRef ref;
    return sect && makeRefFromWidePath(sect->location, ref) ? 1 : 0;
}

void CSects::ReleaseAllSect()
{
    m_items.clear();
}
