// The saved information of products that were moved.
#pragma once

#include "tests/support/FakeHome.h"
#include "tests/support/PropertyListText.h"

#include <string_view>

/// What is kept about the product "Product" of version "1.0.0.0" with the executable "Foo" and the identifier
/// "com.example.foo", unless a test says otherwise. Nothing is written before saveIn().
class SavedProductInfo {
public:
    SavedProductInfo()
    {
        text("CFBundleIdentifier", "com.example.foo");
        text("CFBundleExecutable", "Foo");
        text("CFBundleVersion", "1.0.0.0");
        text("CFBundleName", "Product");
    }
    SavedProductInfo& text(std::string_view key, std::string_view value)
    {
        m_keys.setText(key, value);
        return *this;
    }
    SavedProductInfo& element(std::string_view key, std::string_view element)
    {
        m_keys.setElement(key, element);
        return *this;
    }
    SavedProductInfo& without(std::string_view key)
    {
        m_keys.remove(key);
        return *this;
    }

    /// Writes the file `fileName` of the folder "Product Infos".
    void saveIn(const FakeHome& home, std::string_view fileName) const
    {
        (void)home.folder().write(
            "root/Library/Application Support/Velmora/Tandem Service/Product Infos/" + std::string(fileName),
            m_keys.document());
    }

private:
    PropertyListText m_keys;
};
