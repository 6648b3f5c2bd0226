#include "Platform/Lumen/CheckTree.h"

#include "Platform/Carbon/IconsInternal.h"
#include "Platform/Support/Assertion.h"

#include <QPainter>
#include <QStyleOptionButton>

namespace PubLumen {
namespace {

constexpr std::size_t kUncheckedIndex = 2;
constexpr std::size_t kFixedIndex = 3;

QIcon iconOf(const OpaqueIconRef& ref)
{
    QIcon icon;
    for (const QImage& picture : ref.pictures)
        icon.addPixmap(QPixmap::fromImage(picture));
    return icon;
}

/// The style's own check box, for a tree whose icon could not be made.
QIcon styledCheckBox(const QWidget& tree, std::size_t index)
{
    QStyleOptionButton option;
    option.initFrom(&tree);
    const QStyle& style = *tree.style();
    const QSize size(style.pixelMetric(QStyle::PM_IndicatorWidth, &option, &tree),
        style.pixelMetric(QStyle::PM_IndicatorHeight, &option, &tree));
    option.rect = QRect(QPoint(), size);
    option.state = index == kUncheckedIndex ? QStyle::State_Off : QStyle::State_On;
    if (index != kFixedIndex)
        option.state |= QStyle::State_Enabled;
    QPixmap picture(size * tree.devicePixelRatioF());
    picture.setDevicePixelRatio(tree.devicePixelRatioF());
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    style.drawPrimitive(QStyle::PE_IndicatorCheckBox, &option, &painter, &tree);
    return QIcon(picture);
}

LumTreeItem* childAt(const CheckTree& tree, const LumTreeItem* parent, int index)
{
    return parent ? parent->child(index) : tree.topLevelItem(index);
}

} // namespace

LumTree::LumTree(CheckTree& widget)
    : m_widget(widget)
{
    widget.setControl(this);
}

void LumTree::SetIcons(const std::vector<IconRef>& icons)
{
    std::vector<QIcon> made;
    for (std::size_t i = 0; i < icons.size(); ++i) {
        if (icons[i])
            made.push_back(iconOf(*icons[i]));
        else
            made.push_back(i == 0 ? QIcon() : styledCheckBox(m_widget, i));
    }
    m_widget.setIcons(std::move(made));
}

void LumTree::SetProc(LumControlProc proc, const void* userData)
{
    m_widget.setProc(proc, userData);
}

LumTreeItem* LumTree::AppendItem(LumTreeItem* parent, std::u16string_view text, SInt32 state, void* data)
{
    auto* item = new QTreeWidgetItem; // the tree owns it from here on
    if (parent)
        parent->addChild(item);
    else
        m_widget.addTopLevelItem(item);
    item->setText(0, QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size())));
    item->setData(
        0, CheckTree::kIndexRole, (parent ? parent->childCount() : m_widget.topLevelItemCount()) - 1);
    item->setData(0, CheckTree::kDataRole, QVariant::fromValue(reinterpret_cast<quintptr>(data)));
    m_widget.setState(*item, state);
    return item;
}

void LumTree::ExpandItem(LumTreeItem* item)
{
    VELMORA_ASSERT(item);
    item->setExpanded(true);
}

SInt32 LumTree::GetItemState(const LumTreeItem* item) const
{
    VELMORA_ASSERT(item);
    return m_widget.state(*item);
}

void LumTree::SetItemState(LumTreeItem* item, SInt32 state)
{
    VELMORA_ASSERT(item);
    m_widget.setState(*item, state);
}

void* LumTree::GetItemData(const LumTreeItem* item) const
{
    VELMORA_ASSERT(item);
    return reinterpret_cast<void*>(item->data(0, CheckTree::kDataRole).value<quintptr>());
}

LumTreeItem* LumTree::GetFirstChild(const LumTreeItem* item) const
{
    return childAt(m_widget, item, 0);
}

LumTreeItem* LumTree::GetNextSibling(const LumTreeItem* item) const
{
    VELMORA_ASSERT(item);
    return childAt(m_widget, item->parent(), item->data(0, CheckTree::kIndexRole).toInt() + 1);
}

LumTreeItem* LumTree::GetParent(const LumTreeItem* item) const
{
    VELMORA_ASSERT(item);
    return item->parent();
}

LumPoint LumTree::WindowToTree(LumPoint point) const
{
    const QPoint mapped = m_widget.viewport()->mapFrom(m_widget.window(), QPoint(point.x, point.y));
    return {mapped.x(), mapped.y()};
}

LumTreeItem* LumTree::HitTest(LumPoint point, LumTreePart& part) const
{
    return m_widget.hitTest(QPoint(point.x, point.y), part);
}

void LumTree::Redraw()
{
    m_widget.viewport()->update();
}

} // namespace PubLumen
