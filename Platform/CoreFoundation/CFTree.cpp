// Trees: their children, and their end.
#include "Platform/CoreFoundation/CFXMLTree.h"
#include "Platform/Support/Assertion.h"

#include <iterator>
#include <utility>

__CFTree::__CFTree(CFXMLNodeTypeCode type, CFRef<CFStringRef> string, CFRef<CFDictionaryRef> attributes)
    : CFObject(kCFRuntimeTree)
    , m_node {type, std::move(string), attributes, {attributes}}
{
}

__CFTree::~__CFTree()
{
    // Each subtree gives its children up before it goes, so that the depth of the tree takes no stack.
    std::vector<CFRef<__CFTree*>> ending = std::move(m_children);
    while (!ending.empty()) {
        const CFRef<__CFTree*> tree = std::move(ending.back());
        ending.pop_back();
        if (tree.get()->isShared())
            continue;
        auto& children = tree.get()->m_children;
        std::move(children.begin(), children.end(), std::back_inserter(ending));
        children.clear();
    }
}

CFIndex CFTreeGetChildCount(CFTreeRef tree)
{
    return static_cast<CFIndex>(tree->m_children.size());
}

CFTreeRef CFTreeGetChildAtIndex(CFTreeRef tree, CFIndex index)
{
    VELMORA_ASSERT(index >= 0 && index < CFTreeGetChildCount(tree));
    return tree->m_children[static_cast<std::size_t>(index)];
}
