#include "Update/descriptor/FileSec.h"

#include "Platform/Support/Unicode.h"
#include "Update/descriptor/DownloadAction.h"
#include "Update/descriptor/ElementReader.h"
#include "Update/descriptor/RunAction.h"
#include "Update/descriptor/UnzipAction.h"

CFileSec::CFileSec(SInt32 ownerCode)
    : m_ownerCode(ownerCode)
{
}

int CFileSec::Parse(CFTreeRef tree, const CConstants* constants)
{
    if (!isNamed(tree, u"FILE") || !readAttributes(attributesOf(tree)))
        return 0;
    for (const CFTreeRef child : TreeChildren(tree)) {
        const std::optional<std::u16string_view> type = attribute(attributesOf(child), u"type");
        if (!type || !isNamed(child, u"action"))
            continue;
        std::unique_ptr<CAction> action = makeAction(*type, *constants);
        if (!action)
            continue;
        if (action->Parse(child, constants) == 0)
            return 0;
        AddItem(std::move(action));
    }
    return 1;
}

/// False when a version is asked for that is not there; null attributes leave the defaults.
bool CFileSec::readAttributes(CFDictionaryRef attributes)
{
    if (!attributes)
        return true;
    m_name = boundedText(attributeOrEmpty(attributes, u"name"));
    m_size = leadingInteger(attributeOrEmpty(attributes, u"size"));
    m_title = boundedText(attributeOrEmpty(attributes, u"title"));
    if (!equalIgnoringCase(attributeOrEmpty(attributes, u"check"), u"version"))
        return true;
    const std::optional<std::u16string_view> version = attribute(attributes, u"version");
    if (!version)
        return false;
    m_version = versionOf(*version);
    return true;
}

/// Null for a type that is passed over ("copy" and "delete" among them).
std::unique_ptr<CAction> CFileSec::makeAction(std::u16string_view type, const CConstants& constants) const
{
    if (equalIgnoringCase(type, u"download"))
        return std::make_unique<CDownLoad>(m_size);
    if (equalIgnoringCase(type, u"unzip"))
        return std::make_unique<CUnzip>();
    if (!equalIgnoringCase(type, u"run"))
        return nullptr;
    auto run = std::make_unique<CRun>();
    run->SetDPath(constants.mappedPath(u"%app%").c_str());
    return run;
}

void CFileSec::AddItem(std::unique_ptr<CAction> action)
{
    m_actions.push_back(std::move(action));
}

void CFileSec::SetDownloadSiteUrl(const UniChar* site)
{
    for (const std::unique_ptr<CAction>& action : m_actions)
        if (action->type() == kDownloadAction)
            static_cast<CDownLoad&>(*action).SetSiteUrl(site);
}

void CFileSec::GatherDownloadFullURL(CLumStringW& url) const
{
    url.clear();
    const CAction* action = GetActionByType(kDownloadAction);
    if (!action)
        return;
    url += static_cast<const CDownLoad*>(action)->site();
    url += action->location();
}

bool CFileSec::IsWebURLInDownload(const UniChar* url) const
{
    CLumStringW full;
    GatherDownloadFullURL(full);
    return lum_wcscmpi(url, full.c_str()) == 0;
}

CAction* CFileSec::GetActionByType(SInt32 type) const
{
    for (const std::unique_ptr<CAction>& action : m_actions)
        if (action->type() == type)
            return action.get();
    return nullptr;
}
