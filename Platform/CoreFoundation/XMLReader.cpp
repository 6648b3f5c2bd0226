// Drives the parser and hands its calls on as events.
#include "Platform/CoreFoundation/XMLReader.h"

#include "Platform/CoreFoundation/XMLEncoding.h"
#include "Platform/Support/Unicode.h"

#include <expat.h>

#include <memory>
#include <string>
#include <type_traits>

namespace {

/// Turns the parser's calls into the handler's events. Once something was refused nothing more is handed on,
/// though the parser may still report the rest of what it had begun.
class Reader {
public:
    Reader(std::span<const UInt8> document, XMLHandler& handler)
        : m_parser(XML_ParserCreate(nullptr))
        , m_document(document)
        , m_handler(handler)
    {
    }

    bool read();

private:
    struct FreeParser {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    static Reader& self(void* userData) { return *static_cast<Reader*>(userData); }
    static void onStartElement(void* userData, const XML_Char* name, const XML_Char** attributes);
    static void onEndElement(void* userData, const XML_Char* name);
    static void onCharacters(void* userData, const XML_Char* text, int length);
    static void onStartCdata(void* userData);
    static void onEndCdata(void* userData);
    static void onComment(void* userData, const XML_Char* text);
    static void onProcessingInstruction(void* userData, const XML_Char* target, const XML_Char* data);
    static void onStartDocumentType(void* userData, const XML_Char* name, const XML_Char* systemId,
        const XML_Char* publicId, int hasInternalSubset);
    static void onSkippedEntity(void* userData, const XML_Char* name, int isParameterEntity);

    void setHandlers();
    /// Hands on the text gathered so far; every other event begins with this.
    bool flushText();
    /// Ends the reading when `accepted` is false.
    void check(bool accepted);
    std::span<const UInt8> currentMarkup() const;

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser> m_parser;
    std::span<const UInt8> m_document;
    XMLHandler& m_handler;
    std::string m_text; ///< UTF-8, gathered until the next other event
    bool m_hasExternalSubset = false;
    bool m_refused = false;
};

bool Reader::read()
{
    if (!m_parser || m_document.size() > kMaxDocumentBytes)
        return false;
    setHandlers();
    const auto* bytes = reinterpret_cast<const char*>(m_document.data());
    // In one piece: the parser's work on a long token fed in many pieces would grow with the square of its
    // length.
    const XML_Status status = XML_Parse(m_parser.get(), bytes, static_cast<int>(m_document.size()), XML_TRUE);
    return status == XML_STATUS_OK && !m_refused;
}

void Reader::setHandlers()
{
    XML_Parser parser = m_parser.get();
    XML_SetUserData(parser, this);
    XML_SetUnknownEncodingHandler(parser, fillEncoding, nullptr);
    XML_SetElementHandler(parser, onStartElement, onEndElement);
    XML_SetCharacterDataHandler(parser, onCharacters);
    XML_SetCdataSectionHandler(parser, onStartCdata, onEndCdata);
    XML_SetCommentHandler(parser, onComment);
    XML_SetProcessingInstructionHandler(parser, onProcessingInstruction);
    XML_SetStartDoctypeDeclHandler(parser, onStartDocumentType);
    XML_SetSkippedEntityHandler(parser, onSkippedEntity);
}

bool Reader::flushText()
{
    if (m_refused)
        return false;
    if (m_text.empty())
        return true;
    const std::u16string text = wideFromUtf8(m_text);
    m_text.clear();
    check(m_handler.text(text));
    return !m_refused;
}

void Reader::check(bool accepted)
{
    if (accepted || m_refused)
        return;
    m_refused = true;
    (void)XML_StopParser(m_parser.get(), XML_FALSE); // it fails only when the parser has stopped already
}

/// The bytes of the markup that is being reported; empty when the parser cannot tell.
std::span<const UInt8> Reader::currentMarkup() const
{
    const XML_Index at = XML_GetCurrentByteIndex(m_parser.get());
    const int count = XML_GetCurrentByteCount(m_parser.get());
    if (at < 0 || count < 0
        || static_cast<std::size_t>(at) + static_cast<std::size_t>(count) > m_document.size())
        return {};
    return m_document.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(count));
}

void Reader::onStartElement(void* userData, const XML_Char* name, const XML_Char** attributes)
{
    Reader& reader = self(userData);
    if (!reader.flushText())
        return;
    // The parser drops an unknown entity in an attribute without a word where the document names an external
    // subset.
    if (reader.m_hasExternalSubset && refersToUnknownEntity(reader.currentMarkup(), reader.m_document)) {
        reader.check(false);
        return;
    }
    std::size_t count = 0;
    while (attributes[count])
        ++count;
    reader.check(reader.m_handler.startElement(name, {attributes, count}));
}

void Reader::onEndElement(void* userData, const XML_Char*)
{
    Reader& reader = self(userData);
    if (reader.flushText())
        reader.check(reader.m_handler.endElement());
}

void Reader::onCharacters(void* userData, const XML_Char* text, int length)
{
    self(userData).m_text.append(text, static_cast<std::size_t>(length));
}

void Reader::onStartCdata(void* userData)
{
    (void)self(userData).flushText(); // a refusal is kept, and seen by the next event
}

void Reader::onEndCdata(void* userData)
{
    Reader& reader = self(userData);
    if (reader.m_refused)
        return;
    const std::u16string text = wideFromUtf8(reader.m_text);
    reader.m_text.clear();
    reader.check(reader.m_handler.cdata(text));
}

void Reader::onComment(void* userData, const XML_Char* text)
{
    Reader& reader = self(userData);
    if (reader.flushText())
        reader.check(reader.m_handler.comment(text));
}

void Reader::onProcessingInstruction(void* userData, const XML_Char* target, const XML_Char*)
{
    Reader& reader = self(userData);
    if (reader.flushText())
        reader.check(reader.m_handler.processingInstruction(target));
}

void Reader::onStartDocumentType(void* userData, const XML_Char* name, const XML_Char* systemId,
    const XML_Char* publicId, int hasInternalSubset)
{
    Reader& reader = self(userData);
    reader.m_hasExternalSubset = systemId || publicId;
    if (hasInternalSubset)
        reader.check(false);
    else
        reader.check(reader.m_handler.documentType(name));
}

void Reader::onSkippedEntity(void* userData, const XML_Char*, int)
{
    self(userData).check(false);
}

} // namespace

bool readXML(std::span<const UInt8> document, XMLHandler& handler)
{
    return Reader(document, handler).read();
}
