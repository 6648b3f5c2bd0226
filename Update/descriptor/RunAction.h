// The start of a file that an update delivered: an application or an installer package.
#pragma once

#include "Update/descriptor/Action.h"

class CRun : public CAction {
public:
    CRun();
    /// Reads "filetype", "location", the path of the file to start, and "wait". Always 1.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Replaces the destination, the run action's default folder; null clears it.
    void SetDPath(const UniChar* path);

    /// 0 when the action goes on without waiting for what it started.
    SInt32 wait() const { return m_wait; }
    SInt32 fileType() const { return m_fileType; }

private:
    SInt32 m_wait = 1;
    SInt32 m_fileType = -1; ///< 0 "setup"; stored only
};
