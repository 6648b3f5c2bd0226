// How a document's bytes are to be read: the encoding that the parser does not bring along, and a search in
// raw markup.
#pragma once

#include "Platform/Support/Types.h"

#include <expat.h>

#include <span>

/// The parser's handler for encodings that it does not know itself: fills `info` for windows-1252, and
/// answers 0 (XML_STATUS_ERROR) for every other name.
int fillEncoding(void* handlerData, const XML_Char* name, XML_Encoding* info);

/// True when `markup`, a start tag of `document`, refers to an entity that is neither numeric nor one of the
/// five predefined ones. Whether the tag is in UTF-16 is told from the first bytes of `document`.
bool refersToUnknownEntity(std::span<const UInt8> markup, std::span<const UInt8> document);
