#include "Update/descriptor/DownloadAction.h"

#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"

CDownLoad::CDownLoad(SInt32 size)
    : CAction(kDownloadAction)
    , m_size(size)
{
}

int CDownLoad::Parse(CFTreeRef tree, const CConstants* constants)
{
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<KeyElement> element = keyElement(child);
        if (!element)
            continue;
        if (equalIgnoringCase(element->key, u"destination")
            && !constants->mapPath(element->value, m_destination))
            return 0;
        if (equalIgnoringCase(element->key, u"location"))
            m_location = constants->mappedText(element->value); // a part of a URL, not a local path
    }
    return 1;
}

void CDownLoad::SetSiteUrl(const UniChar* site)
{
    m_site = site ? boundedText(site) : CLumStringW();
}
