#include "Platform/Lumen/FormTextReader.h"

#include "Platform/Support/Unicode.h"

#include <cstring>
#include <expat.h>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

constexpr std::size_t kMaxDepth = 256;

enum class Element { form, widget, textProperty, string, other };

struct OpenElement {
    Element kind;
    std::string objectName; ///< of a widget
};

/// The parser's handlers, and what they gather.
class FormReader {
public:
    explicit FormReader(XML_Parser parser)
        : m_parser(parser)
    {
        XML_SetUserData(parser, this);
        XML_SetElementHandler(parser, startElement, endElement);
        XML_SetCharacterDataHandler(parser, characters);
        XML_SetEntityDeclHandler(parser, entityDeclared);
    }

    bool isForm() const { return m_isForm; }
    FormTexts takeTexts() { return std::move(m_texts); }

private:
    static FormReader& self(void* data) { return *static_cast<FormReader*>(data); }

    static void startElement(void* data, const XML_Char* name, const XML_Char** attributes)
    {
        self(data).open(name, attributes);
    }
    static void endElement(void* data, const XML_Char*) { self(data).close(); }
    static void characters(void* data, const XML_Char* text, int length)
    {
        FormReader& reader = self(data);
        if (reader.m_open.back().kind == Element::string)
            reader.m_text.append(text, static_cast<std::size_t>(length));
    }
    static void entityDeclared(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
        const XML_Char*, const XML_Char*, const XML_Char*)
    {
        (void)XML_StopParser(self(data).m_parser, XML_FALSE); // the parse itself then reports the failure
    }

    void open(const XML_Char* name, const XML_Char** attributes);
    void close();
    Element kindOf(const XML_Char* name, const XML_Char** attributes) const;

    XML_Parser m_parser;
    std::vector<OpenElement> m_open; ///< from the root to the element being read
    std::string m_text;              ///< of the <string> being read
    bool m_isForm = false;
    FormTexts m_texts;
};

const char* nameAttribute(const XML_Char** attributes)
{
    for (; *attributes; attributes += 2) {
        if (std::strcmp(attributes[0], "name") == 0)
            return attributes[1];
    }
    return "";
}

void FormReader::open(const XML_Char* name, const XML_Char** attributes)
{
    const Element kind = kindOf(name, attributes);
    if (m_open.empty())
        m_isForm = kind == Element::form;
    if (!m_isForm || m_open.size() == kMaxDepth) {
        (void)XML_StopParser(m_parser, XML_FALSE); // the parse itself then reports the failure
        return;
    }
    if (kind == Element::string)
        m_text.clear();
    m_open.push_back({kind, kind == Element::widget ? nameAttribute(attributes) : ""});
}

void FormReader::close()
{
    // A text belongs to the widget that stands directly above its property.
    if (m_open.back().kind == Element::string) {
        const std::string& widget = m_open[m_open.size() - 3].objectName;
        m_texts.emplace(wideFromUtf8(widget), wideFromUtf8(m_text));
    }
    m_open.pop_back();
}

Element FormReader::kindOf(const XML_Char* name, const XML_Char** attributes) const
{
    if (m_open.empty())
        return std::strcmp(name, "ui") == 0 ? Element::form : Element::other;
    const Element above = m_open.back().kind;
    if (std::strcmp(name, "widget") == 0 && *nameAttribute(attributes) != '\0')
        return Element::widget;
    const bool isText = above == Element::widget && std::strcmp(name, "property") == 0
        && std::strcmp(nameAttribute(attributes), "text") == 0;
    if (isText)
        return Element::textProperty;
    const bool isString = above == Element::textProperty && std::strcmp(name, "string") == 0;
    return isString ? Element::string : Element::other;
}

} // namespace

bool readFormTexts(std::string_view document, FormTexts& texts)
{
    texts.clear();
    const std::unique_ptr<std::remove_pointer_t<XML_Parser>, decltype(&XML_ParserFree)> parser(
        XML_ParserCreate(nullptr), XML_ParserFree);
    if (!parser)
        return false;
    FormReader reader(parser.get());
    const auto status = XML_Parse(parser.get(), document.data(), static_cast<int>(document.size()), XML_TRUE);
    if (status != XML_STATUS_OK || !reader.isForm())
        return false;
    texts = reader.takeTexts();
    return true;
}
