// What the selection window is shown over: file entries, products and the staged bundle's resources.
#pragma once

#include "Platform/CoreFoundation/CFBundle.h"
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/Lumen/LumResource.h"
#include "Update/collect/PListParse.h"
#include "Update/descriptor/FileSec.h"
#include "Update/ui/AuProductsWind.h"

#include <memory>
#include <string>
#include <vector>

/// An entry as a descriptor of the type `ownerCode` lists it.
struct Entry {
    SInt32 ownerCode = kAppOwner;
    std::string name = "file.zip";
    std::string title = {};
    SInt64 sizeBytes = 0;

    static constexpr SInt32 kAppOwner = 3;
    static constexpr SInt32 kSectionOwner = 2;
};

/// Keeps the plug-in's bundle registered, and owns all that it makes.
class ProductsScene {
public:
    ProductsScene();
    ~ProductsScene();

    CFileSec* entry(const Entry& entry);
    /// A new product, collected after those made before, with one entry for each of `entries`.
    CPListParse* product(const std::vector<Entry>& entries);
    void addMandatory(const Entry& described) { mandatory.push_back(entry(described)); }
    void addOptional(const Entry& described) { optional.push_back(entry(described)); }

    PubLumen::LumFileManager files; ///< finds the bundle's layouts
    std::vector<CFileSec*> mandatory;
    std::vector<CFileSec*> optional;
    ProductFiles products;

private:
    CFRef<CFBundleRef> m_bundle;
    std::vector<std::unique_ptr<CFileSec>> m_entries;
    std::vector<std::unique_ptr<CPListParse>> m_products;
};

/// The staged bundle, and a reference to it as long as it is kept.
CFRef<CFBundleRef> openStagedBundle();
