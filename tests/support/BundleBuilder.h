// Makes bundles: folders with Contents/Info.plist.
#pragma once

#include "tests/support/PropertyListText.h"
#include "tests/support/TempDir.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A bundle named "Product", of version "1.0.0.0", unless a test says otherwise. Nothing is written before
/// build().
class BundleBuilder {
public:
    BundleBuilder();
    BundleBuilder& name(std::string_view value) { return text("CFBundleName", value); }
    BundleBuilder& version(std::string_view value) { return text("CFBundleVersion", value); }
    BundleBuilder& identifier(std::string_view value) { return text("CFBundleIdentifier", value); }
    BundleBuilder& executable(std::string_view value) { return text("CFBundleExecutable", value); }
    BundleBuilder& language(std::string_view value) { return text("language", value); }
    /// The host part of the download base, such as "http://127.0.0.1:8080".
    BundleBuilder& site(std::string_view value) { return text("site", value); }
    /// The path part of the download base, with a "/" at both ends.
    BundleBuilder& url(std::string_view value) { return text("url", value); }
    /// Sets any key of the Info.plist to a text.
    BundleBuilder& text(std::string_view key, std::string_view value);
    BundleBuilder& integer(std::string_view key, long long value);
    /// Sets a key to an element as it is written, such as "<true/>".
    BundleBuilder& element(std::string_view key, std::string_view element);
    BundleBuilder& without(std::string_view key);
    /// Adds a file; `name` is its path below the bundle's folder, such as "Contents/Resources/a.txt".
    BundleBuilder& file(std::string_view name, std::string_view bytes);

    /// Writes the bundle to the folder `name` below `parent` and returns its path.
    std::filesystem::path build(const ScopedTempDir& parent, std::string_view name) const;

private:
    PropertyListText m_info;
    std::vector<std::pair<std::string, std::string>> m_files;
};
