#include "tests/support/DescriptorBuilder.h"

namespace {

std::string attributeText(std::string_view name, std::string_view value)
{
    return value.empty() ? std::string() : " " + std::string(name) + "=\"" + escapedXml(value) + "\"";
}

std::string element(std::string_view name, std::string_view text)
{
    const std::string tag(name);
    return text.empty() ? std::string() : "<" + tag + ">" + escapedXml(text) + "</" + tag + ">";
}

std::string action(std::string_view type, const std::string& content)
{
    return content.empty() ? std::string()
                           : "<action type=\"" + std::string(type) + "\">" + content + "</action>\n";
}

} // namespace

std::string escapedXml(std::string_view text)
{
    std::string escaped;
    for (const char c : text) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '<')
            escaped += "&lt;";
        else if (c == '"')
            escaped += "&quot;";
        else
            escaped += c;
    }
    return escaped;
}

DescriptorBuilder& DescriptorBuilder::constant(std::string_view name, std::string_view value)
{
    return raw("<CONSTANTS><constant name=\"" + escapedXml(name) + "\" value=\"" + escapedXml(value)
        + "\"/></CONSTANTS>");
}

DescriptorBuilder& DescriptorBuilder::general(std::string_view key, std::string_view value)
{
    return raw("<GENERAL>" + element(key, value) + "</GENERAL>");
}

DescriptorBuilder& DescriptorBuilder::file(const DescriptorFile& file)
{
    std::string attributes = attributeText("name", file.name) + attributeText("size", file.size)
        + attributeText("title", file.title);
    if (!file.version.empty())
        attributes += " check=\"version\"" + attributeText("version", file.version);
    return raw("<FILES><FILE" + attributes + ">\n"
        + action("download", element("destination", file.destination) + element("location", file.location))
        + action("unzip", element("location", file.unzip)) + action("run", element("location", file.run))
        + "</FILE></FILES>");
}

DescriptorBuilder& DescriptorBuilder::section(const std::filesystem::path& location, std::string_view version)
{
    return raw("<SECTIONS><SECTION section=\"1\"" + attributeText("version", version)
        + attributeText("location", location.string()) + "/></SECTIONS>");
}

DescriptorBuilder& DescriptorBuilder::dependency(
    const std::filesystem::path& location, std::string_view version)
{
    return raw("<DEPENDENCIES><DEPENDENCY type=\"common\"" + attributeText("version", version)
        + attributeText("location", location.string()) + "/></DEPENDENCIES>");
}

DescriptorBuilder& DescriptorBuilder::raw(std::string_view block)
{
    m_blocks += block;
    m_blocks += '\n';
    return *this;
}

std::string DescriptorBuilder::xml() const
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<UPDATEINFO>\n" + m_blocks + "</UPDATEINFO>\n";
}
