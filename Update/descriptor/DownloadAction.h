// The download of a file: where it comes from and where it goes. The controller does the downloading.
#pragma once

#include "Update/descriptor/Action.h"

class CDownLoad : public CAction {
public:
    /// `size` is the owning file's size in bytes.
    explicit CDownLoad(SInt32 size);
    /// Reads "destination", the local path to save to, and "location", the path on the site. 0 when the local
    /// path does not fit.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Replaces the download site; null clears it.
    void SetSiteUrl(const UniChar* site);

    SInt32 size() const { return m_size; }
    const CLumStringW& site() const { return m_site; }

private:
    SInt32 m_size;
    CLumStringW m_site;
};
