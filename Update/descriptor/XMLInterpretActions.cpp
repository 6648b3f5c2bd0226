// The execution of what a descriptor says is to be done with the downloaded files.
#include "Update/descriptor/XMLInterpret.h"

#include "Platform/Carbon/Folders.h"
#include "Update/descriptor/UnzipAction.h"

bool CXMLInterpret::DoActionExceptDownload(CPListParse* plist)
{
    (void)FlushVol(nullptr, 0); // what is not on disk yet is still found there
    if (!unpackAll(plist))
        return false;
    (void)FlushVol(nullptr, 0); // as above
    for (const std::unique_ptr<CFileSec>& file : m_files.items())
        for (const std::unique_ptr<CAction>& action : file->actions())
            if (action->type() != kDownloadAction && action->type() != kUnzipAction
                && action->DoAction(&m_general, plist) == 0)
                return false;
    return true;
}

/// Unpacks the archives of all files as one batch. False when one of them is not there: then nothing is
/// unpacked.
bool CXMLInterpret::unpackAll(CPListParse* plist)
{
    CUnzip batch;
    for (const std::unique_ptr<CFileSec>& file : m_files.items()) {
        for (const std::unique_ptr<CAction>& action : file->actions()) {
            FSRef archive;
            if (action->type() != kUnzipAction)
                continue;
            if (!makeRefFromWidePath(action->location(), archive))
                return false;
            batch.AddFSRef(&archive);
        }
    }
    return batch.archives().empty() || batch.DoAction(&m_general, plist) != 0;
}
