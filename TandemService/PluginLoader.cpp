#include "TandemService/PluginLoader.h"

#include "TandemService/Paths.h"

PluginLoader::~PluginLoader()
{
    if (m_provider)
        (void)m_release(m_provider); // returns its argument
    if (m_loaded)
        CFBundleUnloadExecutable(m_bundle);
}

bool PluginLoader::load(const std::string& folder, IMsgPluginContainer& container, std::string& error)
{
    const CFRef url = urlFromPath(folder, true);
    m_bundle = url ? adoptCF(CFBundleCreate(kCFAllocatorDefault, url)) : nullptr;
    if (!m_bundle) {
        error = "there is no plug-in bundle at \"" + folder + "\"";
        return false;
    }
    m_loaded = CFBundleLoadExecutable(m_bundle);
    if (!m_loaded) {
        error = "the plug-in bundle \"" + folder + "\" cannot be loaded";
        return false;
    }
    const auto get = reinterpret_cast<GetMsgProviderPluginProc>(
        CFBundleGetFunctionPointerForName(m_bundle, "GetMsgProviderPlugin"));
    m_release = reinterpret_cast<ReleaseMsgProviderPluginProc>(
        CFBundleGetFunctionPointerForName(m_bundle, "ReleaseMsgProviderPlugin"));
    if (!get || !m_release) {
        error = "the bundle \"" + folder + "\" is no message provider";
        return false;
    }
    m_provider = get(&container);
    if (!m_provider)
        error = "the plug-in \"" + folder + "\" cannot work here";
    return m_provider != nullptr;
}

std::string carriedPluginFolder()
{
    const std::string bundle = mainBundleFolder();
    return bundle.empty() ? std::string() : bundle + "/Contents/PlugIns/Update.bundle";
}
