// The unpacking of a ZIP archive.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Update/descriptor/Action.h"

#include <vector>

class CUnzip : public CAction {
public:
    CUnzip();
    /// Reads "destination" and "location", the archive's path. 0 only when a substitution fails.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Adds a copy of `ref` to the archives of a batch; null is ignored.
    void AddFSRef(const FSRef* ref);

private:
    std::vector<FSRef> m_archives;
};
