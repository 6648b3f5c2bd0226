// Makes bundles: folders with Contents/Info.plist.
#include "tests/support/BundleBuilder.h"

BundleBuilder::BundleBuilder()
{
    name("Product").version("1.0.0.0");
}

BundleBuilder& BundleBuilder::text(std::string_view key, std::string_view value)
{
    m_info.setText(key, value);
    return *this;
}

BundleBuilder& BundleBuilder::integer(std::string_view key, long long value)
{
    m_info.setInteger(key, value);
    return *this;
}

BundleBuilder& BundleBuilder::element(std::string_view key, std::string_view element)
{
    m_info.setElement(key, element);
    return *this;
}

BundleBuilder& BundleBuilder::without(std::string_view key)
{
    m_info.remove(key);
    return *this;
}

BundleBuilder& BundleBuilder::file(std::string_view name, std::string_view bytes)
{
    m_files.emplace_back(name, bytes);
    return *this;
}

std::filesystem::path BundleBuilder::build(const ScopedTempDir& parent, std::string_view name) const
{
    const std::string folder(name);
    parent.write(folder + "/Contents/Info.plist", m_info.document());
    for (const auto& [file, bytes] : m_files)
        parent.write(folder + "/" + file, bytes);
    return parent.at(name);
}
