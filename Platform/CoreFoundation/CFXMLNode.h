// XML documents as trees of nodes.
#pragma once

#include "Platform/CoreFoundation/CFArray.h"
#include "Platform/CoreFoundation/CFData.h"
#include "Platform/CoreFoundation/CFDictionary.h"
#include "Platform/CoreFoundation/CFURL.h"

/// A node and the subtree below it. A child is kept by its parent and lives as long as the root.
using CFTreeRef = const struct __CFTree*;
using CFXMLTreeRef = CFTreeRef;
using CFXMLNodeRef = const struct __CFXMLNode*;

enum CFXMLNodeTypeCode : SInt32 {
    kCFXMLNodeTypeDocument = 1,
    kCFXMLNodeTypeElement = 2,
    kCFXMLNodeTypeProcessingInstruction = 4,
    kCFXMLNodeTypeComment = 5,
    kCFXMLNodeTypeText = 6,
    kCFXMLNodeTypeCDATASection = 7,
    kCFXMLNodeTypeDocumentType = 11,
};

/// What CFXMLNodeGetInfoPtr gives for an element.
struct CFXMLElementInfo {
    CFDictionaryRef attributes; ///< null when the element has none; names are case-sensitive
};

using CFOptionFlags = UInt32;
enum : CFOptionFlags { kCFXMLParserSkipWhitespace = 4 };
enum : CFIndex { kCFXMLNodeCurrentVersion = 1 };

CFIndex CFTreeGetChildCount(CFTreeRef tree);
/// `index` must be from 0 to the count less 1. Kept by the tree.
CFTreeRef CFTreeGetChildAtIndex(CFTreeRef tree, CFIndex index);
/// Kept by the tree.
CFXMLNodeRef CFXMLTreeGetNode(CFXMLTreeRef tree);
CFXMLNodeTypeCode CFXMLNodeGetTypeCode(CFXMLNodeRef node);
/// An element's name as written; a text's, comment's or CDATA section's text; a processing instruction's
/// target; the name that a document type gives. Never null; kept by the node.
CFStringRef CFXMLNodeGetString(CFXMLNodeRef node);
/// For an element a CFXMLElementInfo, kept by the node; null for every other node.
const void* CFXMLNodeGetInfoPtr(CFXMLNodeRef node);

/// Parses a document (XML 1.0; UTF-8, UTF-16, ISO-8859-1, US-ASCII, windows-1252). The result's top-level
/// children are the document's own: comments, processing instructions, the document type and the root
/// element. Adjacent pieces of text are one text node; text of white space only is left out: `options` must
/// be kCFXMLParserSkipWhitespace. Predefined and numeric entities are resolved. Null for `data` that is null,
/// not well-formed, refers to any other entity, has a document type with declarations of its own (the
/// external one that it may name is never fetched), or passes 64 MiB, 3,000,000 nodes and attributes
/// together, or 100,000 levels. `dataSource` must be null. The caller owns the tree; building and freeing it
/// takes no stack in proportion to its depth.
CFXMLTreeRef CFXMLTreeCreateFromData(
    CFAllocatorRef allocator, CFDataRef data, CFURLRef dataSource, CFOptionFlags options, CFIndex version);
