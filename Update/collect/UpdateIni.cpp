// Reads the host application's own bundle.
#include "Update/collect/UpdateIni.h"

namespace {

constexpr std::u16string_view kDefaultRunMode = u"Interaction";

} // namespace

CUpdateIni::CUpdateIni()
    : CPListParse(kUpdateIniKind)
{
}

int CUpdateIni::Parse()
{
    const CFBundleRef host = CFBundleGetMainBundle();
    if (!host)
        return 0;
    m_bundleURL = adoptCF(CFBundleCopyBundleURL(host));
    if (!m_bundleURL)
        return 0;
    const auto valueFor
        = [host](std::u16string_view key) { return CFBundleGetValueForInfoDictionaryKey(host, key); };
    m_runMode.assign(textOr(valueFor(u"runmode"), kDefaultRunMode));
    readSharedKeys(valueFor);
    m_productName.assign(kHostProductName);
    Validate();
    return 1;
}
