// A suite of installed bundles with a site that holds their descriptors, for tests of the interpreter.
#pragma once

#include "Update/descriptor/XMLInterpret.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/DescriptorBuilder.h"
#include "tests/support/FakeHome.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The product on top is "Top", version 1.0.0.0, in Top.bundle. The site is a folder, reached by file URLs.
class Suite {
public:
    Suite();
    Suite(const Suite&) = delete;
    Suite& operator=(const Suite&) = delete;
    ~Suite();

    /// Where the bundle is, or would be.
    std::filesystem::path bundle(std::string_view name) const;
    /// Installs the bundle NAME.bundle; its descriptor is looked for on `site`, by default the suite's own.
    std::filesystem::path install(
        std::string_view name, std::string_view version = "1.0.0.0", std::string site = {}) const;
    /// Puts the descriptor of a bundle of that name and version on the site.
    void publish(std::string_view name, const DescriptorBuilder& descriptor,
        std::string_view version = "1.0.0.0") const;
    /// Installs version 1.0.0.0 and publishes a descriptor that offers version 2.0.0.0 with one file.
    std::filesystem::path offer(std::string_view name, DescriptorBuilder descriptor = {}) const;

    /// Puts a descriptor of that size, which does not parse, where a fetch would have put it.
    void pretendFetched(std::string_view name, std::uintmax_t bytes) const;

    /// An interpreter on the product's descriptor.
    std::unique_ptr<CXMLInterpret> load(std::string_view xml) const;
    /// Interprets it for the product on top.
    bool parse(CXMLInterpret& interpreter) const;
    /// Loads and interprets.
    std::unique_ptr<CXMLInterpret> parsed(const DescriptorBuilder& descriptor) const;

    /// Calls `hook` each time a fetch looks at the list of fetched URLs: before it fetches, and once it has.
    void onFetch(std::function<void()> hook) const;
    /// How many descriptors were fetched so far.
    std::size_t fetched() const;

    const FakeHome& home() const { return m_home; }
    std::filesystem::path workFolder() const { return m_home.cache() / "VelmoraTandemUpdater"; }
    std::filesystem::path descriptorFolder() const { return m_home.cache() / "com.Velmora.Tandem.XMLFile"; }

private:
    FakeHome m_home;
};

/// States of an interpreter that only very large descriptors, or no flow at all, would bring about.
struct InterpreterAccess {
    static void setSubFolder(CXMLInterpret& interpreter, const UniChar* name);
    /// Makes it hold so many files that are null.
    static void holdNullFiles(CXMLInterpret& interpreter, std::size_t count);
    /// Leaves it so much to spend on looking for constants.
    static void limitSearching(CXMLInterpret& interpreter, UInt64 units);
};

/// The names of the files that are left to update, in order.
std::vector<std::string> namesOf(const CXMLInterpret& interpreter);

/// A file of that name and version with a location of the same name.
DescriptorFile fileNamed(std::string_view name, std::string_view version = "2.0.0.0");
