// Registers products with the product registry.
#include "tests/support/ProductBuilder.h"

#include <string>

namespace {

constexpr std::string_view kRegistry = "Library/Application Support/Velmora/Tandem Service/Products";

} // namespace

ProductBuilder& ProductBuilder::installPath(const std::filesystem::path& path)
{
    m_keys.setText("InstallPath", path.string());
    return *this;
}

ProductBuilder& ProductBuilder::firstName(std::string_view value)
{
    m_keys.setText("FirstName", value);
    return *this;
}

ProductBuilder& ProductBuilder::secondName(std::string_view value)
{
    m_keys.setText("SecondName", value);
    return *this;
}

ProductBuilder& ProductBuilder::element(std::string_view key, std::string_view element)
{
    m_keys.setElement(key, element);
    return *this;
}

std::filesystem::path ProductBuilder::registerIn(const FakeHome& home, std::string_view fileName) const
{
    const std::filesystem::path file = productRegistryOf(home) / fileName;
    return home.folder().write(file.lexically_relative(home.path()).string(), m_keys.document());
}

std::filesystem::path productRegistryOf(const FakeHome& home)
{
    return home.root() / kRegistry;
}
