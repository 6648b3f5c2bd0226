// Property lists written out for tests.
#pragma once

#include <map>
#include <string>
#include <string_view>

/// The keys of a property list in XML, in the order of their names.
class PropertyListText {
public:
    /// `value` in UTF-8; markup in it is escaped.
    void setText(std::string_view key, std::string_view value);
    void setInteger(std::string_view key, long long value);
    /// `element` is written as it is, such as "<true/>".
    void setElement(std::string_view key, std::string_view element);
    void remove(std::string_view key);
    /// The whole document.
    std::string document() const;

private:
    std::map<std::string, std::string, std::less<>> m_elements;
};
