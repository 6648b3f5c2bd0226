// A parsed piece of a descriptor, for tests of one reader.
#pragma once

#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFXMLNode.h"

#include <string_view>

class CConstants;

class ParsedTree {
public:
    explicit ParsedTree(std::string_view xml);

    /// The document's element; null when the text did not parse. Kept by this object.
    CFTreeRef root() const;

private:
    CFRef<CFXMLTreeRef> m_document;
};

/// A table with one constant.
CConstants constantsWith(std::u16string_view name, std::u16string_view value);
