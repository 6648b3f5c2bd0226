// The files of an update.
#pragma once

#include "Update/descriptor/FileSec.h"

class CFiles {
public:
    /// Reads the "FILE" children of `tree`, with `ownerCode` and the download site `site` for each; a bad one
    /// is left out. 1, or 0 when the node is not named "FILES".
    int ParseFiles(CFTreeRef tree, const CConstants* constants, SInt32 ownerCode, const UniChar* site);
    /// Appends a file and owns it.
    void AddItem(std::unique_ptr<CFileSec> file);
    /// Deletes every file of that name, ignoring case; a null or empty name deletes all.
    void ReleaseFileByName(const UniChar* name);
    /// Deletes every file of exactly that name, ignoring case, which may be the empty one; null is the empty
    /// name.
    void releaseNamed(const UniChar* name);
    /// Hands all files over, in order; the list is empty afterwards.
    std::vector<std::unique_ptr<CFileSec>> takeAll();

    /// In document order.
    const std::vector<std::unique_ptr<CFileSec>>& items() const { return m_items; }

private:
    std::vector<std::unique_ptr<CFileSec>> m_items;
};
