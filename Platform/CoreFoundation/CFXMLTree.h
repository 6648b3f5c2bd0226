// The inside of a document's tree. Private to this folder.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFRuntime.h"
#include "Platform/CoreFoundation/CFXMLNode.h"

#include <vector>

/// What a tree holds at one place; a part of its tree, not an object of its own.
struct __CFXMLNode {
    CFXMLNodeTypeCode type;
    CFRef<CFStringRef> string;
    CFRef<CFDictionaryRef> attributes; ///< null when there are none
    CFXMLElementInfo info;             ///< looks at `attributes`
};

struct __CFTree final : CFObject {
    __CFTree(CFXMLNodeTypeCode type, CFRef<CFStringRef> string, CFRef<CFDictionaryRef> attributes = nullptr);
    ~__CFTree() override;

    const __CFXMLNode m_node;
    std::vector<CFRef<__CFTree*>> m_children;
};
