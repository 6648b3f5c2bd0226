// The two exported functions, and the one plug-in object behind them.
#include "Update/UpdateInter.h"
#include "Update/descriptor/ProductBundles.h"
#include "Update/download/DescriptorFetch.h"

CUpdateInter g_UpdatePlugin;

std::vector<CLumStringW>& fetchedDescriptorURLs()
{
    return g_UpdatePlugin.fetchedURLs();
}

const std::vector<std::string>& productBundleFolders()
{
    return g_UpdatePlugin.productBundles();
}

extern "C" {

__attribute__((visibility("default"))) IMsgProviderPlugin* GetMsgProviderPlugin(
    IMsgPluginContainer* container)
{
    return g_UpdatePlugin.attach(container) ? &g_UpdatePlugin : nullptr;
}

__attribute__((visibility("default"))) IMsgProviderPlugin* ReleaseMsgProviderPlugin(
    IMsgProviderPlugin* plugin)
{
    return plugin; // the object is static: it goes when the bundle is unloaded
}

} // extern "C"
