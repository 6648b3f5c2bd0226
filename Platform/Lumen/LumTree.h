// A panel's check tree: items with a text, a state that picks their icon, and the owner's data.
#pragma once

#include "Platform/Carbon/Icons.h"
#include "Platform/Lumen/LumControls.h"

#include <string_view>
#include <vector>

class QTreeWidgetItem;

namespace PubLumen {

class CheckTree;

/// An item of a tree, owned by the tree; only the tree looks into it.
using LumTreeItem = ::QTreeWidgetItem;

/// In pixels that do not depend on the screen's scale.
struct LumPoint {
    SInt32 x = 0;
    SInt32 y = 0;
};

/// Something happened with the mouse in the tree; the parameter is a LumTreeMouse.
inline constexpr SInt32 kLumMsgTreeMouse = 10001;
enum : SInt32 { kLumMouseClick = 1 };
struct LumTreeMouse {
    SInt32 event = kLumMouseClick; ///< the left button went down and up again on one part of an item, or the
                                   ///< key that stands for it
    LumPoint where;                ///< in the window
};

/// What of an item lies under a point. An item without an icon has no check box.
enum class LumTreePart { None, Item, CheckBox };

class LumTree {
public:
    explicit LumTree(CheckTree& widget);
    /// Gives the tree its icons: an item shows the one whose index is the highest hexadecimal digit of its
    /// state, read as a 16-bit number. A null entry at 0 is no icon; any other null entry gets the desktop's
    /// own check box. The references are the caller's and are not needed after the call.
    void SetIcons(const std::vector<IconRef>& icons);
    void SetProc(LumControlProc proc, const void* userData);

    /// Adds an item as the last child of `parent`, or at the top level for null.
    LumTreeItem* AppendItem(LumTreeItem* parent, std::u16string_view text, SInt32 state, void* data);
    void ExpandItem(LumTreeItem* item);
    SInt32 GetItemState(const LumTreeItem* item) const;
    void SetItemState(LumTreeItem* item, SInt32 state);
    void* GetItemData(const LumTreeItem* item) const;
    /// For null, the first item of the top level; null when there is none.
    LumTreeItem* GetFirstChild(const LumTreeItem* item) const;
    LumTreeItem* GetNextSibling(const LumTreeItem* item) const;
    /// Null for an item of the top level.
    LumTreeItem* GetParent(const LumTreeItem* item) const;

    /// A point of the window in the tree's own coordinates.
    LumPoint WindowToTree(LumPoint point) const;
    /// The item under a point of the tree, or null.
    LumTreeItem* HitTest(LumPoint point, LumTreePart& part) const;
    void Redraw();

private:
    CheckTree& m_widget;
};

} // namespace PubLumen
