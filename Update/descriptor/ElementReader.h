// How every reader of a descriptor takes names, attributes and texts from the tree.
#pragma once

#include "Platform/CoreFoundation/CFXMLNode.h"
#include "Platform/Lumen/LumString.h"
#include "Update/collect/VersionNumber.h"

#include <optional>
#include <string_view>

/// The direct children of a node, in document order, for a range-based for loop.
class TreeChildren {
public:
    class Iterator {
    public:
        Iterator(CFTreeRef tree, CFIndex index)
            : m_tree(tree)
            , m_index(index)
        {
        }
        CFTreeRef operator*() const { return CFTreeGetChildAtIndex(m_tree, m_index); }
        Iterator& operator++()
        {
            ++m_index;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return m_index != other.m_index; }

    private:
        CFTreeRef m_tree;
        CFIndex m_index;
    };

    /// `tree` must outlive the range.
    explicit TreeChildren(CFTreeRef tree)
        : m_tree(tree)
    {
    }
    Iterator begin() const { return {m_tree, 0}; }
    Iterator end() const { return {m_tree, CFTreeGetChildCount(m_tree)}; }

private:
    CFTreeRef m_tree;
};

/// An element that holds nothing but a text; both views live as long as the tree.
struct KeyElement {
    std::u16string_view key;
    std::u16string_view value;
};

/// True when the node's string is `name`, ignoring case, whatever the node's type; a null tree has no name.
bool isNamed(CFTreeRef tree, std::u16string_view name);
/// True for an element, as opposed to a comment, a text and the like.
bool isElement(CFTreeRef tree);
/// The element's attributes, kept by the tree; null when it has none or the node is no element.
CFDictionaryRef attributesOf(CFTreeRef tree);
/// One attribute's text, as long as the tree lives; the name is case-sensitive.
std::optional<std::u16string_view> attribute(CFDictionaryRef attributes, std::u16string_view name);
/// The same, where a missing attribute is the empty text.
std::u16string_view attributeOrEmpty(CFDictionaryRef attributes, std::u16string_view name);
/// The key and value of an element without attributes and with exactly one child node, whatever that node is;
/// nothing for every other node.
std::optional<KeyElement> keyElement(CFTreeRef tree);

/// The text, cut at the 1023 units that a descriptor's value may have, without the buffer of that size: a
/// descriptor may hold 100,000 values.
CLumStringW boundedText(std::u16string_view text);
/// The version that `text` writes; only its first 1023 units count.
Version versionOf(std::u16string_view text);
/// Sets `flag` to 1 for "true" and to 0 for "false", ignoring case; every other value leaves it as it is.
void readFlag(std::u16string_view value, SInt32& flag);
