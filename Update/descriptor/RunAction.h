// The start of a file that an update delivered: an application or an installer package.
#pragma once

#include "Update/descriptor/Action.h"

struct FSRef;

class CRun : public CAction {
public:
    CRun();
    /// Reads "filetype", "location", the path of the file to start, and "wait". 0 when the path does not fit.
    int Parse(CFTreeRef tree, const CConstants* constants) override;
    /// Replaces the destination, the run action's default folder; null clears it.
    void SetDPath(const UniChar* path);

    /// Starts the file: as an application, otherwise with the application for it; a package is installed into
    /// the folder that holds the destination. Then waits, with events and without limit, for what it started
    /// to end, and deletes the file's folder with everything in it, unless it is one that is always kept
    /// (isDeletableFolder). With `wait` 0, which an updater's descriptor always has, neither is done; an
    /// updater that is to close the application hands over to the helper tool. 0 when the file is not there
    /// or cannot be started.
    int DoAction(CGeneral* general, CPListParse* product) override;

    /// 0 when the action goes on without waiting for what it started.
    SInt32 wait() const { return m_wait; }
    SInt32 fileType() const { return m_fileType; }

private:
    bool openDocument(const FSRef& file, FSRef& application) const;

    SInt32 m_wait = 1;
    SInt32 m_fileType = -1; ///< 0 "setup"; stored only
};
