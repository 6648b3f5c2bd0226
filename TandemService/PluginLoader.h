// A loaded provider bundle.
#pragma once

#include "Update/MsgProvider.h"
#include "Platform/CoreFoundation/CFRef.h"

#include <string>

/// Loads a bundle, asks it for its provider, and unloads it when it goes.
class PluginLoader {
public:
    PluginLoader() = default;
    ~PluginLoader();
    PluginLoader(const PluginLoader&) = delete;
    PluginLoader& operator=(const PluginLoader&) = delete;

    /// Loads the bundle at `folder`, which is registered first, so that the provider finds its own resources
    /// by its identifier. False, and one line in `error`, when it is no bundle, cannot be loaded, lacks one
    /// of the two functions, or gives no provider. `container` must outlive the loader. Allowed once.
    bool load(const std::string& folder, IMsgPluginContainer& container, std::string& error);

    /// Null before a successful load.
    IMsgProviderPlugin* provider() const { return m_provider; }

private:
    CFRef<CFBundleRef> m_bundle;
    bool m_loaded = false;
    ReleaseMsgProviderPluginProc m_release = nullptr;
    IMsgProviderPlugin* m_provider = nullptr;
};

/// The folder of the bundle that the host carries: Contents/PlugIns/Update.bundle of the main bundle; empty
/// when there is no main bundle.
std::string carriedPluginFolder();
