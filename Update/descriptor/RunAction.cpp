#include "Update/descriptor/RunAction.h"

#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"

CRun::CRun()
    : CAction(kRunAction)
{
}

int CRun::Parse(CFTreeRef tree, const CConstants* constants)
{
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<KeyElement> element = keyElement(child);
        if (!element)
            continue;
        if (equalIgnoringCase(element->key, u"filetype") && equalIgnoringCase(element->value, u"setup"))
            m_fileType = 0;
        else if (equalIgnoringCase(element->key, u"location"))
            m_location = constants->mappedPath(element->value);
        else if (equalIgnoringCase(element->key, u"wait") && equalIgnoringCase(element->value, u"false"))
            m_wait = 0;
    }
    return 1;
}

void CRun::SetDPath(const UniChar* path)
{
    m_destination = path ? boundedText(path) : CLumStringW();
}
