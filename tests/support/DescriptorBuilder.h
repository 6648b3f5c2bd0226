// Update descriptors for tests, with a default for whatever a test does not set.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// A "FILE" element; an empty text leaves its attribute or action out.
struct DescriptorFile {
    std::string name = "Sample";
    std::string version = "2.0.0.0"; ///< written with check="version"
    std::string size = "100";        ///< in bytes
    std::string title = "Sample update";
    std::string location = "sample.zip";                  ///< of the download action, on the site
    std::string destination = "%updatertemp%/sample.zip"; ///< of the download action
    std::string unzip;                                    ///< the location of an unzip action
    std::string run;                                      ///< the location of a run action
};

class DescriptorBuilder {
public:
    /// One constant in a block of its own; blocks appear in the order in which they are added.
    DescriptorBuilder& constant(std::string_view name, std::string_view value);
    /// One key of the general section.
    DescriptorBuilder& general(std::string_view key, std::string_view value);
    /// The general section's "TYPE".
    DescriptorBuilder& type(std::string_view keyword) { return general("TYPE", keyword); }
    DescriptorBuilder& file(const DescriptorFile& file = {});
    DescriptorBuilder& section(const std::filesystem::path& location, std::string_view version = "1.0.0.0");
    DescriptorBuilder& dependency(
        const std::filesystem::path& location, std::string_view version = "1.0.0.0");
    /// Any block below the root, as it stands.
    DescriptorBuilder& raw(std::string_view block);

    /// The whole document.
    std::string xml() const;

private:
    std::string m_blocks;
};

/// `text` with the characters escaped that mean something in XML.
std::string escapedXml(std::string_view text);
