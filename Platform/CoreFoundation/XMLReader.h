// The one reader of XML text, for trees and for property lists: a document's events in order, within safe
// limits.
#pragma once

#include "Platform/Support/Types.h"

#include <cstddef>
#include <span>
#include <string_view>

/// Receives the events of one document. Each answers true to go on; false ends the reading and makes it fail.
class XMLHandler {
public:
    virtual ~XMLHandler() = default;
    /// `attributes` holds names and values by turns, in UTF-8; valid during the call.
    virtual bool startElement(std::string_view name, std::span<const char* const> attributes) = 0;
    virtual bool endElement() = 0;
    /// Text between two other events, in one piece, its entities resolved; never empty.
    virtual bool text(std::u16string_view text) = 0;
    /// One CDATA section; it may be empty.
    virtual bool cdata(std::u16string_view text) = 0;
    virtual bool comment(std::string_view text) = 0;
    virtual bool processingInstruction(std::string_view target) = 0;
    virtual bool documentType(std::string_view name) = 0;
};

/// The longest document that is read.
inline constexpr std::size_t kMaxDocumentBytes = 64 * 1024 * 1024;

/// Reads a whole XML 1.0 document in UTF-8, UTF-16, ISO-8859-1, US-ASCII or windows-1252. A document type may
/// name a system and a public identifier, which are never fetched; one with declarations of its own is
/// refused, so no document brings entities or attributes that are not written out in it. Returns true when
/// the document is well-formed, within kMaxDocumentBytes, refers to predefined and numeric entities only, and
/// `handler` answered every event with true.
bool readXML(std::span<const UInt8> document, XMLHandler& handler);
