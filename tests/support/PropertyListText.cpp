// Property lists written out for tests.
#include "tests/support/PropertyListText.h"

namespace {

std::string escaped(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        if (c == '&')
            out += "&amp;";
        else if (c == '<')
            out += "&lt;";
        else
            out += c;
    }
    return out;
}

} // namespace

void PropertyListText::setText(std::string_view key, std::string_view value)
{
    setElement(key, "<string>" + escaped(value) + "</string>");
}

void PropertyListText::setInteger(std::string_view key, long long value)
{
    setElement(key, "<integer>" + std::to_string(value) + "</integer>");
}

void PropertyListText::setElement(std::string_view key, std::string_view element)
{
    m_elements.insert_or_assign(std::string(key), std::string(element));
}

void PropertyListText::remove(std::string_view key)
{
    m_elements.erase(std::string(key));
}

std::string PropertyListText::document() const
{
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<dict>\n";
    for (const auto& [key, element] : m_elements)
        text += "<key>" + escaped(key) + "</key>" + element + "\n";
    return text + "</dict>\n</plist>\n";
}
