// The widget behind a check tree: shows its own icons as check boxes, and reports clicks and the key that
// stands for one.
#pragma once

#include "Platform/Lumen/LumTree.h"

#include <QTreeWidget>

#include <optional>

namespace PubLumen {

class CheckTree final : public QTreeWidget {
public:
    explicit CheckTree(QWidget* parent);

    void setIcons(std::vector<QIcon> icons) { m_icons = std::move(icons); }
    void setProc(LumControlProc proc, const void* userData);
    /// Whom the procedure is called with.
    void setControl(const LumTree* control) { m_control = control; }
    SInt32 state(const QTreeWidgetItem& item) const;
    void setState(QTreeWidgetItem& item, SInt32 state);
    /// `point` is in the viewport.
    QTreeWidgetItem* hitTest(QPoint point, LumTreePart& part) const;
    /// Where the item's check box lies in the viewport; empty when it has none.
    QRect checkBoxRect(QTreeWidgetItem* item) const;

    enum ItemRole {
        kStateRole = Qt::UserRole,
        kDataRole,
        kIndexRole, ///< of the item below its parent; looking for it would take longer with each sibling
    };

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    bool viewportEvent(QEvent* event) override;

private:
    struct Press {
        const QTreeWidgetItem* item; ///< compared only, never followed
        LumTreePart part;
    };

    void notePress(const QMouseEvent& event);
    void notifyClick(QPoint viewportPoint);
    QStyleOptionViewItem styleOption(const QModelIndex& index) const;
    void showToolTip(const class QHelpEvent& event);

    std::vector<QIcon> m_icons;
    const LumTree* m_control = nullptr;
    LumControlProc m_proc = nullptr;
    const void* m_userData = nullptr;
    std::optional<Press> m_press;
};

} // namespace PubLumen
