// One file of an update, with its actions.
#pragma once

#include "Platform/Lumen/LumString.h"
#include "Update/collect/VersionNumber.h"
#include "Update/descriptor/Action.h"

#include <memory>
#include <vector>

class CFileSec {
public:
    /// `ownerCode` is the type of the descriptor that lists the file (DescriptorType).
    explicit CFileSec(SInt32 ownerCode);
    CFileSec(const CFileSec&) = delete;
    CFileSec& operator=(const CFileSec&) = delete;

    /// Reads the "FILE" element. 0 when the node has another name, when "check" is "version" without a
    /// "version", or when an action cannot be read; otherwise 1.
    int Parse(CFTreeRef tree, const CConstants* constants);
    /// Appends an action and owns it.
    void AddItem(std::unique_ptr<CAction> action);
    /// Gives every download action this site; null clears it.
    void SetDownloadSiteUrl(const UniChar* site);
    /// Writes the full URL: the first download action's site and location, joined as they stand; empty
    /// without a download action.
    void GatherDownloadFullURL(CLumStringW& url) const;
    /// True when `url` is the full URL, ignoring case; null counts as the empty text.
    bool IsWebURLInDownload(const UniChar* url) const;
    /// The first action of that type, or null; owned by the file.
    CAction* GetActionByType(SInt32 type) const;

    /// At most 1023 units.
    const CLumStringW& name() const { return m_name; }
    /// At most 1023 units.
    const CLumStringW& title() const { return m_title; }
    const Version& version() const { return m_version; }
    /// In bytes, as the descriptor says.
    SInt32 size() const { return m_size; }
    SInt32 ownerCode() const { return m_ownerCode; }
    /// 1 when a "common" descriptor on the way brought the file in, else 0.
    SInt32 mark() const { return m_mark; }
    void setMark() { m_mark = 1; }
    /// In document order.
    const std::vector<std::unique_ptr<CAction>>& actions() const { return m_actions; }

private:
    bool readAttributes(CFDictionaryRef attributes);
    std::unique_ptr<CAction> makeAction(std::u16string_view type, const CConstants& constants) const;

    CLumStringW m_name;
    Version m_version {};
    SInt32 m_size = 0;
    SInt32 m_ownerCode;
    CLumStringW m_title;
    SInt32 m_mark = 0;
    std::vector<std::unique_ptr<CAction>> m_actions;
};
