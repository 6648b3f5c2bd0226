// What a document's tree holds at one place.
#include "Platform/CoreFoundation/CFXMLTree.h"

CFXMLNodeRef CFXMLTreeGetNode(CFXMLTreeRef tree)
{
    return &tree->m_node;
}

CFXMLNodeTypeCode CFXMLNodeGetTypeCode(CFXMLNodeRef node)
{
    return node->type;
}

CFStringRef CFXMLNodeGetString(CFXMLNodeRef node)
{
    return node->string;
}

const void* CFXMLNodeGetInfoPtr(CFXMLNodeRef node)
{
    return node->type == kCFXMLNodeTypeElement ? &node->info : nullptr;
}
