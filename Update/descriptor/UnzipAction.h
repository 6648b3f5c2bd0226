// The unpacking of a ZIP archive.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Update/descriptor/Action.h"

#include <vector>

class CUnzip : public CAction {
public:
    CUnzip();
    /// Reads "destination" and "location", the archive's path. Always 1.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Adds a copy of `ref` to the archives of a batch; null is ignored.
    void AddFSRef(const FSRef* ref);
    /// The batch, in the order in which it was added.
    const std::vector<FSRef>& archives() const { return m_archives; }

private:
    std::vector<FSRef> m_archives;
};
