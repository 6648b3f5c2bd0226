#include "Update/descriptor/UnzipAction.h"

#include "Platform/Support/Unicode.h"
#include "Update/descriptor/ElementReader.h"

CUnzip::CUnzip()
    : CAction(kUnzipAction)
{
}

int CUnzip::Parse(CFTreeRef tree, const CConstants* constants)
{
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<KeyElement> element = keyElement(child);
        if (!element)
            continue;
        if (equalIgnoringCase(element->key, u"destination"))
            m_destination = constants->mappedPath(element->value);
        else if (equalIgnoringCase(element->key, u"location"))
            m_location = constants->mappedPath(element->value);
    }
    return 1;
}

void CUnzip::AddFSRef(const FSRef* ref)
{
    if (ref)
        m_archives.push_back(*ref);
}
