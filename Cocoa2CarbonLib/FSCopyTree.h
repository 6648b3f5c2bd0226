// The copying of one file, link or folder tree to a name that is free.
#pragma once

#include "Cocoa2CarbonLib/FSCopyForks.h"
#include "Cocoa2CarbonLib/FSCopyObject.h"
#include "Cocoa2CarbonLib/FSCopyPreflight.h"

#include <string>
#include <vector>

/// What the caller wants to be asked, and how deep to go.
struct FSCopyRequest {
    UInt32 maxLevels = 0;
    FSCatalogInfoBitmap whichInfo = 0;
    bool wantFSSpec = false;
    bool wantName = false;
    CopyObjectFilterProcPtr filterProc = nullptr;
    void* yourData = nullptr;
};

/// One copy at work. Levels are a list, not a chain of calls, and only the innermost of them hold
/// descriptors: depth and number of entries have no limit but the memory for the names. Names are any bytes.
class FSTreeCopy {
public:
    FSTreeCopy(const FSCopyPlan& plan, const FSCopyRequest& request)
        : m_plan(plan)
        , m_request(request)
    {
    }

    /// Copies everything. The first error ends the copy and leaves what was made.
    OSStatus run();
    /// True when something of this copy's own stands at the new name: `made` tells what.
    bool hasMade() const { return m_hasMade; }
    const ItemInfo& made() const { return m_made; }

private:
    /// An item to be copied.
    struct Place {
        int folder;
        std::string name;
        int destFolder;
        std::string newName;
        std::string folderPath; ///< kept where the filter procedure wants it
        UInt32 level;           ///< 0 for the item that the copy was asked for
    };
    /// What a place held when it was looked at.
    struct Found {
        ItemInfo info;
        Descriptor item;    ///< open, of a file or folder
        std::string target; ///< of a link
    };
    /// A folder whose children are being copied.
    struct Level {
        Descriptor source; ///< none while a level far enough below is at work
        Descriptor dest;
        ItemInfo sourceInfo;
        ItemInfo destInfo;
        std::string path;
        std::vector<std::string> names; ///< of the children still to be copied
    };

    OSStatus step();
    OSStatus copyItem(const Place& place);
    OSStatus findItem(const Place& place, int& answer, Found& found) const;
    OSStatus askFilter(const Place& place, const ItemInfo& info, int& answer) const;
    OSStatus copyLink(const Place& place, const Found& link);
    OSStatus copyFile(const Place& place, const Found& file);
    OSStatus checkFolder(const Place& place, const ItemInfo& info) const;
    OSStatus enterFolder(const Place& place, Found&& folder);
    OSStatus makeLevel(const Place& place, Level& level);
    void closeFarLevel();
    OSStatus leaveFolder();
    OSStatus reopenLevelAbove();
    OSStatus finish(int item, const ItemInfo& info);
    OSStatus noteMade(const Place& place, int item);

    const FSCopyPlan& m_plan;
    const FSCopyRequest& m_request;
    CopyBuffer m_buffer;
    std::vector<Level> m_levels;
    bool m_hasMade = false;
    ItemInfo m_made;
};
