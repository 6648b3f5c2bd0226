#include "Update/descriptor/Dependencies.h"

#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"

int CDependency::Parse(CFTreeRef tree, const CConstants* constants)
{
    if (!isNamed(tree, u"DEPENDENCY"))
        return 0;
    const CFDictionaryRef attributes = attributesOf(tree);
    if (!attributes)
        return 1;
    const auto type = attribute(attributes, u"type");
    const auto path = attribute(attributes, u"location");
    if (!type || !path)
        return 0;
    if (equalIgnoringCase(*type, u"common"))
        dependencyType = 0;
    name = boundedText(attributeOrEmpty(attributes, u"name"));
    // The default language is lost on purpose when there are attributes, but no language.
    language = boundedText(attributeOrEmpty(attributes, u"language"));
    version = versionOf(attributeOrEmpty(attributes, u"version"));
    location = constants->mappedPath(*path);
    return 1;
}

int CDependencies::ParseDependencies(CFTreeRef tree, const CConstants* constants)
{
    if (!isNamed(tree, u"DEPENDENCIES"))
        return 0;
    for (const CFTreeRef child : TreeChildren(tree)) {
        if (!isNamed(child, u"DEPENDENCY"))
            continue;
        auto dependency = std::make_unique<CDependency>();
        if (dependency->Parse(child, constants) != 0)
            AddItem(std::move(dependency));
    }
    return 1;
}

void CDependencies::AddItem(std::unique_ptr<CDependency> dependency)
{
    m_items.push_back(std::move(dependency));
}

void CDependencies::ReleaseAllDpcy()
{
    m_items.clear();
}
