// The start of a file that an update delivered: an application or an installer package.
#pragma once

#include "Update/descriptor/Action.h"

class CRun : public CAction {
public:
    CRun();
    /// Reads "filetype", "location" and "wait". 0 only when a substitution fails.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Replaces the destination, the run action's default folder; null clears it.
    void SetDPath(const UniChar* path);

    SInt32 wait() const { return m_wait; }
    SInt32 fileType() const { return m_fileType; }

private:
    SInt32 m_wait = 1;
    SInt32 m_fileType = -1; ///< 0 "setup"; stored only
};
