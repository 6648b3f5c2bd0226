#include "Platform/Lumen/CheckTree.h"

#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QStyledItemDelegate>
#include <QToolTip>

#include <algorithm>

namespace PubLumen {
namespace {

/// How far outside its picture a check box still takes a click, to the left and right.
constexpr int kCheckBoxMarginPixels = 3;
constexpr int kIconSidePixels = 16;
/// Room above and below a row's text together.
constexpr int kRowPaddingPixels = 8;

bool isRightToLeft(QChar unit)
{
    return unit.direction() == QChar::DirR || unit.direction() == QChar::DirAL;
}

bool breaksTheLine(QChar unit)
{
    return unit.category() == QChar::Other_Control || unit == QChar::LineSeparator
        || unit == QChar::ParagraphSeparator;
}

class CheckDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    /// A name is data: with line breaks it would push the other rows away.
    QString displayText(const QVariant& value, const QLocale&) const override
    {
        QString text = value.toString();
        std::replace_if(text.begin(), text.end(), breaksTheLine, QChar(' '));
        return text;
    }

    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        // A name is shown in its own direction, whatever the window's is: first-strong isolate and its end.
        if (std::any_of(option->text.cbegin(), option->text.cend(), isRightToLeft))
            option->text = QChar(0x2068) + option->text + QChar(0x2069);
    }

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        return {size.width(), std::max(size.height(), option.fontMetrics.height() + kRowPaddingPixels)};
    }
};

} // namespace

CheckTree::CheckTree(QWidget* parent)
    : QTreeWidget(parent)
{
    setItemDelegate(new CheckDelegate(this));
    setColumnCount(1);
    setHeaderHidden(true);
    // One column as wide as the tree, so that long names are elided rather than scrolled.
    header()->setStretchLastSection(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setTextElideMode(Qt::ElideRight);
    // A selected row would tint the icons.
    setSelectionMode(QAbstractItemView::NoSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setIconSize(QSize(kIconSidePixels, kIconSidePixels));
}

void CheckTree::setProc(LumControlProc proc, const void* userData)
{
    m_proc = proc;
    m_userData = userData;
}

SInt32 CheckTree::state(const QTreeWidgetItem& item) const
{
    return item.data(0, kStateRole).toInt();
}

void CheckTree::setState(QTreeWidgetItem& item, SInt32 state)
{
    item.setData(0, kStateRole, state);
    const auto index = static_cast<std::size_t>((state >> 12) & 0xF);
    item.setIcon(0, index < m_icons.size() ? m_icons[index] : QIcon());
    // The layout words the states for those who hear the tree rather than see it.
    static constexpr const char* kWordings[] = {"", "checkedText", "uncheckedText", "fixedText"};
    const QString wording = index < std::size(kWordings) ? property(kWordings[index]).toString() : QString();
    item.setData(0, Qt::AccessibleTextRole, wording.isEmpty() ? item.text(0) : wording.arg(item.text(0)));
}

QStyleOptionViewItem CheckTree::styleOption(const QModelIndex& index) const
{
    QStyleOptionViewItem option;
    initViewItemOption(&option);
    option.rect = visualRect(index);
    static_cast<CheckDelegate*>(itemDelegate())->initStyleOption(&option, index);
    return option;
}

QRect CheckTree::checkBoxRect(QTreeWidgetItem* item) const
{
    if (item->icon(0).isNull())
        return {};
    const QStyleOptionViewItem option = styleOption(indexFromItem(item));
    const QRect picture = style()->subElementRect(QStyle::SE_ItemViewItemDecoration, &option, this);
    return QRect(picture.left() - kCheckBoxMarginPixels, option.rect.top(),
        picture.width() + 2 * kCheckBoxMarginPixels, option.rect.height());
}

QTreeWidgetItem* CheckTree::hitTest(QPoint point, LumTreePart& part) const
{
    QTreeWidgetItem* item = itemAt(point);
    part = LumTreePart::None;
    if (item)
        part = checkBoxRect(item).contains(point) ? LumTreePart::CheckBox : LumTreePart::Item;
    return item;
}

void CheckTree::notePress(const QMouseEvent& event)
{
    m_press.reset();
    if (event.button() != Qt::LeftButton)
        return;
    LumTreePart part = LumTreePart::None;
    if (const QTreeWidgetItem* item = hitTest(event.position().toPoint(), part))
        m_press = Press {item, part};
}

void CheckTree::mousePressEvent(QMouseEvent* event)
{
    notePress(*event);
    QTreeWidget::mousePressEvent(event);
}

void CheckTree::mouseDoubleClickEvent(QMouseEvent* event)
{
    notePress(*event);
    // Two quick clicks on a check box are two clicks, not a request to fold the branch.
    if (!m_press || m_press->part != LumTreePart::CheckBox)
        QTreeWidget::mouseDoubleClickEvent(event);
}

void CheckTree::mouseReleaseEvent(QMouseEvent* event)
{
    const QPoint point = event->position().toPoint();
    const std::optional<Press> press = std::exchange(m_press, std::nullopt);
    QTreeWidget::mouseReleaseEvent(event);
    LumTreePart part = LumTreePart::None;
    const QTreeWidgetItem* item = hitTest(point, part);
    if (event->button() == Qt::LeftButton && press && press->item == item && press->part == part)
        notifyClick(point);
}

void CheckTree::keyPressEvent(QKeyEvent* event)
{
    QTreeWidgetItem* item = currentItem();
    if (event->key() != Qt::Key_Space || event->modifiers() != Qt::NoModifier || !item) {
        QTreeWidget::keyPressEvent(event);
        return;
    }
    event->accept();
    if (event->isAutoRepeat())
        return;
    scrollToItem(item);
    const QRect box = checkBoxRect(item);
    if (!box.isEmpty())
        notifyClick(box.center());
}

void CheckTree::notifyClick(QPoint viewportPoint)
{
    if (!m_proc)
        return;
    const QPoint inWindow = viewport()->mapTo(window(), viewportPoint);
    const LumTreeMouse mouse {kLumMouseClick, {inWindow.x(), inWindow.y()}};
    (void)m_proc(m_control, kLumMsgTreeMouse, &mouse, m_userData); // a click has nothing to answer
}

bool CheckTree::viewportEvent(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QTreeWidget::viewportEvent(event);
    showToolTip(*static_cast<QHelpEvent*>(event));
    return true;
}

/// Shows the whole name of a row whose name is cut.
void CheckTree::showToolTip(const QHelpEvent& event)
{
    const QTreeWidgetItem* item = itemAt(event.pos());
    if (!item) {
        QToolTip::hideText();
        return;
    }
    const QStyleOptionViewItem option = styleOption(indexFromItem(item));
    const QRect room = style()->subElementRect(QStyle::SE_ItemViewItemText, &option, this);
    const int margin = 2 * (style()->pixelMetric(QStyle::PM_FocusFrameHMargin, &option, this) + 1);
    if (option.fontMetrics.horizontalAdvance(option.text) <= room.width() - margin) {
        QToolTip::hideText();
        return;
    }
    // Escaped, so that a name is never read as markup; the paragraph lets it wrap.
    QToolTip::showText(
        event.globalPos(), "<p>" + item->text(0).toHtmlEscaped() + "</p>", viewport(), option.rect);
}

} // namespace PubLumen
