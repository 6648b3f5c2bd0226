// The unpacking of ZIP archives.
#pragma once

#include "Platform/Carbon/FSRef.h"
#include "Update/descriptor/Action.h"

#include <vector>

class CUnzip : public CAction {
public:
    CUnzip();
    /// Reads "destination" and "location", the archive's path. 0 when either does not fit.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Adds a copy of `ref` to the archives of a batch; null is ignored.
    void AddFSRef(const FSRef* ref);
    /// Adds the archive at the location, when there is one, and opens the whole batch. 1 when all its folders
    /// hold what was expanded. The batch is never emptied: a second call opens every archive again.
    int DoAction(CGeneral* general, CPListParse* product) override;
    /// Opens the archives of the batch one after the other, each with the application for archives and for
    /// two thirds of a second at most, waits without limit for the last application to end, and checks the
    /// archives' folders. Processes events meanwhile. False for an empty batch, and at once when an archive
    /// cannot be opened.
    bool DoVecFSRefAction() const;
    /// The batch, in the order in which it was added.
    const std::vector<FSRef>& archives() const { return m_archives; }

private:
    std::vector<FSRef> m_archives;
};
