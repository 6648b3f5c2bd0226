// Registers products with the product registry.
#pragma once

#include "tests/support/FakeHome.h"
#include "tests/support/PropertyListText.h"

#include <string_view>

/// A product without any text, unless a test says otherwise. Nothing is written before registerIn().
class ProductBuilder {
public:
    /// Where the product's bundle is.
    ProductBuilder& installPath(const std::filesystem::path& path);
    ProductBuilder& firstName(std::string_view value);
    ProductBuilder& secondName(std::string_view value);
    /// Sets a key to an element as it is written, such as "<true/>".
    ProductBuilder& element(std::string_view key, std::string_view element);

    /// Writes the registry's file `fileName` and returns its path; the registry is read in the order of these
    /// names.
    std::filesystem::path registerIn(const FakeHome& home, std::string_view fileName = "product.plist") const;

private:
    PropertyListText m_keys;
};

/// The registry's folder, which need not exist.
std::filesystem::path productRegistryOf(const FakeHome& home);
