// What is to be done with a file of an update: the base of every action.
#pragma once

#include "Platform/Lumen/LumString.h"
#include "Update/descriptor/Constants.h"

class CGeneral;
class CPListParse;

enum ActionType : SInt32 { kNoAction = -1, kDownloadAction = 0, kRunAction = 1, kUnzipAction = 4 };

class CAction {
public:
    CAction() = default;
    CAction(const CAction&) = delete;
    CAction& operator=(const CAction&) = delete;

    /// Reads the "action" element; 0 drops the file that it belongs to. The base reads nothing and returns 1.
    virtual int Parse(CFTreeRef tree, const CConstants* constants);
    /// Carries the action out: 1 on success, 0 on failure. The base does nothing and returns 0.
    virtual int DoAction(CGeneral* general, CPListParse* product);
    virtual ~CAction() = default;

    SInt32 type() const { return m_actionType; }
    /// At most 1023 units; a path that did not fit is empty.
    const CLumStringW& destination() const { return m_destination; }
    /// At most 1023 units; a path that did not fit is empty.
    const CLumStringW& location() const { return m_location; }

protected:
    explicit CAction(ActionType type)
        : m_actionType(type)
    {
    }

    SInt32 m_actionType = kNoAction;
    CLumStringW m_destination;
    CLumStringW m_location;
};
