#include "tests/Platform/Lumen/FormFixture.h"

#include "Platform/Carbon/IconsInternal.h"

#include <QHelpEvent>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QToolTip>
#include <QTreeWidget>

namespace {

using PubLumen::LumTree;
using PubLumen::LumTreeItem;
using PubLumen::LumTreePart;

/// A tree of 300 by 200 pixels at (10, 10) of its window, with icons for the states 0x1000 to 0x3000.
class LumTreeTest : public FormFixture {
protected:
    LumTreeTest()
    {
        tree = show(widget("QTreeWidget", "t",
                        "<property name=\"checkedText\" stdset=\"0\"><string>%1 (on)</string></property>"))
                   ->FindTree(u"t");
        view = window->findChild<QTreeWidget*>("t");
        for (const Qt::GlobalColor colour : {Qt::red, Qt::green, Qt::blue}) {
            QImage picture(16, 16, QImage::Format_ARGB32);
            picture.fill(colour);
            icons[static_cast<std::size_t>(colour - Qt::red)].pictures = {picture};
        }
        tree->SetIcons({nullptr, &icons[0], &icons[1], &icons[2]});
        tree->SetProc(&ControlLog::proc, &log);
    }

    QPoint boxOf(const LumTreeItem* item) const
    {
        const QRect row = view->visualItemRect(item);
        return {row.left() + 12, row.center().y()};
    }
    QPoint textOf(const LumTreeItem* item) const { return boxOf(item) + QPoint(40, 0); }
    void click(QPoint at) { QTest::mouseClick(view->viewport(), Qt::LeftButton, {}, at); }

    LumTree* tree = nullptr;
    QTreeWidget* view = nullptr;
    OpaqueIconRef icons[3];
};

TEST_F(LumTreeTest, AppendsAtTheEndOfTheParent)
{
    LumTreeItem* first = tree->AppendItem(nullptr, u"first", 0, nullptr);
    LumTreeItem* second = tree->AppendItem(nullptr, u"second", 0, nullptr);
    LumTreeItem* a = tree->AppendItem(first, u"a", 0, nullptr);
    LumTreeItem* b = tree->AppendItem(first, u"b", 0, nullptr);
    EXPECT_EQ(tree->GetFirstChild(nullptr), first);
    EXPECT_EQ(tree->GetNextSibling(first), second);
    EXPECT_EQ(tree->GetNextSibling(second), nullptr);
    EXPECT_EQ(tree->GetFirstChild(first), a);
    EXPECT_EQ(tree->GetNextSibling(a), b);
    EXPECT_EQ(tree->GetNextSibling(b), nullptr);
    EXPECT_EQ(tree->GetFirstChild(second), nullptr);
    EXPECT_EQ(tree->GetParent(a), first);
    EXPECT_EQ(tree->GetParent(first), nullptr);
}

TEST_F(LumTreeTest, ShowsANameOfSeveralLinesOnOne)
{
    LumTreeItem* plain = tree->AppendItem(nullptr, u"plain", 0x1000, nullptr);
    LumTreeItem* broken = tree->AppendItem(nullptr, u"a\nb\r\nc\u2028d\u2029e\tf\vg\u0085h", 0x1000, nullptr);
    EXPECT_EQ(view->visualItemRect(broken).height(), view->visualItemRect(plain).height());
    EXPECT_EQ(broken->text(0), QString::fromUtf16(u"a\nb\r\nc\u2028d\u2029e\tf\vg\u0085h"));
    const auto* const delegate = static_cast<QStyledItemDelegate*>(view->itemDelegate());
    const QString shown = delegate->displayText(broken->text(0), QLocale());
    EXPECT_EQ(shown, "a b  c d e f g h");
}

TEST_F(LumTreeTest, KeepsTextStateAndData)
{
    int data = 0;
    LumTreeItem* item = tree->AppendItem(nullptr, u"Größe 日本", 0x2000, &data);
    EXPECT_EQ(view->topLevelItem(0)->text(0), QString::fromUtf16(u"Größe 日本"));
    EXPECT_EQ(tree->GetItemState(item), 0x2000);
    EXPECT_EQ(tree->GetItemData(item), &data);
    tree->SetItemState(item, 0x1000);
    EXPECT_EQ(tree->GetItemState(item), 0x1000);
    EXPECT_EQ(tree->GetItemData(tree->AppendItem(nullptr, u"", 0, nullptr)), nullptr);
}

TEST_F(LumTreeTest, ShowsTheIconOfTheStatesHighestDigit)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    const auto colour = [item] { return item->icon(0).pixmap(16).toImage().pixelColor(8, 8); };
    EXPECT_EQ(colour(), QColor(Qt::red));
    tree->SetItemState(item, 0x2000);
    EXPECT_EQ(colour(), QColor(Qt::green));
    tree->SetItemState(item, 0x3000);
    EXPECT_EQ(colour(), QColor(Qt::blue));
    tree->SetItemState(item, 0);
    EXPECT_TRUE(item->icon(0).isNull());
    tree->SetItemState(item, 0x9000);
    EXPECT_TRUE(item->icon(0).isNull());
}

TEST_F(LumTreeTest, WordsAStateForScreenReadersAsTheLayoutSays)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    EXPECT_EQ(item->data(0, Qt::AccessibleTextRole).toString(), "x (on)");
    tree->SetItemState(item, 0x2000);
    EXPECT_EQ(item->data(0, Qt::AccessibleTextRole).toString(), "x");
}

TEST_F(LumTreeTest, ExpandsAnItem)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0, nullptr);
    tree->AppendItem(item, u"y", 0, nullptr);
    EXPECT_FALSE(item->isExpanded());
    tree->ExpandItem(item);
    EXPECT_TRUE(item->isExpanded());
}

TEST_F(LumTreeTest, HitTestTellsBoxRowAndNothing)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    LumTreeItem* plain = tree->AppendItem(nullptr, u"y", 0, nullptr);
    LumTreePart part = LumTreePart::None;
    const auto hit = [&](QPoint at) { return tree->HitTest({at.x(), at.y()}, part); };
    EXPECT_EQ(hit(boxOf(item)), item);
    EXPECT_EQ(part, LumTreePart::CheckBox);
    EXPECT_EQ(hit(textOf(item)), item);
    EXPECT_EQ(part, LumTreePart::Item);
    EXPECT_EQ(hit(boxOf(plain)), plain);
    EXPECT_EQ(part, LumTreePart::Item);
    EXPECT_EQ(hit({50, 180}), nullptr);
    EXPECT_EQ(part, LumTreePart::None);
}

TEST_F(LumTreeTest, HitTestFollowsScrolling)
{
    std::vector<LumTreeItem*> items;
    for (int i = 0; i < 60; ++i)
        items.push_back(tree->AppendItem(nullptr, u"row", 0x1000, nullptr));
    view->scrollToItem(items[50]);
    ASSERT_GT(view->verticalScrollBar()->value(), 0);
    LumTreePart part = LumTreePart::None;
    const QPoint at = boxOf(items[50]);
    EXPECT_EQ(tree->HitTest({at.x(), at.y()}, part), items[50]);
    EXPECT_EQ(part, LumTreePart::CheckBox);
}

TEST_F(LumTreeTest, ReportsAClickInTheWindowsCoordinates)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    click(boxOf(item));
    ASSERT_EQ(log.calls.size(), 1U);
    EXPECT_EQ(log.calls[0].control, tree);
    EXPECT_EQ(log.calls[0].message, 10001);
    EXPECT_EQ(log.calls[0].mouse.event, PubLumen::kLumMouseClick);
    const QPoint inWindow = view->viewport()->mapTo(window, boxOf(item));
    EXPECT_EQ(log.calls[0].mouse.where.x, inWindow.x());
    EXPECT_EQ(log.calls[0].mouse.where.y, inWindow.y());
    const PubLumen::LumPoint back = tree->WindowToTree(log.calls[0].mouse.where);
    EXPECT_EQ(QPoint(back.x, back.y), boxOf(item));
}

TEST_F(LumTreeTest, ReleaseElsewhereIsNoClick)
{
    LumTreeItem* first = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    LumTreeItem* second = tree->AppendItem(nullptr, u"y", 0x1000, nullptr);
    for (const QPoint elsewhere : {boxOf(second), textOf(first), QPoint(50, 180)}) {
        QTest::mousePress(view->viewport(), Qt::LeftButton, {}, boxOf(first));
        QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, elsewhere);
    }
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(LumTreeTest, OtherButtonsAreNoClick)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    QTest::mouseClick(view->viewport(), Qt::RightButton, {}, boxOf(item));
    QTest::mouseClick(view->viewport(), Qt::MiddleButton, {}, boxOf(item));
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(LumTreeTest, TwoQuickClicksOnABoxAreTwoClicksAndFoldNothing)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    tree->AppendItem(item, u"y", 0, nullptr);
    tree->ExpandItem(item);
    click(boxOf(item));
    QTest::mouseDClick(view->viewport(), Qt::LeftButton, {}, boxOf(item)); // the second press
    QTest::mouseRelease(view->viewport(), Qt::LeftButton, {}, boxOf(item));
    EXPECT_EQ(log.calls.size(), 2U);
    EXPECT_TRUE(item->isExpanded());
}

TEST_F(LumTreeTest, SpaceClicksTheCurrentRowsBox)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    view->setCurrentItem(item);
    QTest::keyClick(view, Qt::Key_Space);
    ASSERT_EQ(log.calls.size(), 1U);
    const PubLumen::LumPoint at = tree->WindowToTree(log.calls[0].mouse.where);
    LumTreePart part = LumTreePart::None;
    EXPECT_EQ(tree->HitTest(at, part), item);
    EXPECT_EQ(part, LumTreePart::CheckBox);
}

TEST_F(LumTreeTest, SpaceBringsTheRowIntoViewFirst)
{
    LumTreeItem* last = nullptr;
    for (int i = 0; i < 60; ++i)
        last = tree->AppendItem(nullptr, u"row", 0x1000, nullptr);
    view->setCurrentItem(last);
    view->scrollToTop();
    QTest::keyClick(view, Qt::Key_Space);
    ASSERT_EQ(log.calls.size(), 1U);
    LumTreePart part = LumTreePart::None;
    EXPECT_EQ(tree->HitTest(tree->WindowToTree(log.calls[0].mouse.where), part), last);
}

TEST_F(LumTreeTest, SpaceOnARowWithoutABoxAndHeldDownDoesNothing)
{
    LumTreeItem* plain = tree->AppendItem(nullptr, u"x", 0, nullptr);
    LumTreeItem* boxed = tree->AppendItem(nullptr, u"y", 0x1000, nullptr);
    view->setCurrentItem(plain);
    QTest::keyClick(view, Qt::Key_Space);
    view->setCurrentItem(boxed);
    QKeyEvent repeated(QEvent::KeyPress, Qt::Key_Space, Qt::NoModifier, " ", true);
    QCoreApplication::sendEvent(view, &repeated);
    EXPECT_TRUE(log.calls.empty());
}

TEST_F(LumTreeTest, ProcedureOfATreeMayCloseTheWindow)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    log.then = [this] { close(); };
    click(boxOf(item));
    EXPECT_TRUE(windows::shown().empty());
}

TEST_F(LumTreeTest, RowsAreNeverSelected)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    click(textOf(item));
    EXPECT_TRUE(view->selectedItems().isEmpty());
}

TEST_F(LumTreeTest, MissingIconGivesTheDesktopsCheckBox)
{
    tree->SetIcons({nullptr, nullptr, nullptr, nullptr});
    LumTreeItem* item = tree->AppendItem(nullptr, u"x", 0x1000, nullptr);
    EXPECT_FALSE(item->icon(0).pixmap(16).isNull());
    tree->SetItemState(item, 0);
    EXPECT_TRUE(item->icon(0).isNull());
}

TEST_F(LumTreeTest, LongNameIsElidedAndTold)
{
    const std::u16string name(200, u'W');
    LumTreeItem* item = tree->AppendItem(nullptr, name, 0x1000, nullptr);
    EXPECT_EQ(view->horizontalScrollBar()->maximum(), 0);
    EXPECT_LE(view->visualItemRect(item).right(), view->viewport()->width());
    QHelpEvent help(QEvent::ToolTip, textOf(item), view->viewport()->mapToGlobal(textOf(item)));
    QCoreApplication::sendEvent(view->viewport(), &help);
    EXPECT_TRUE(QToolTip::text().contains(QString(200, 'W')));
    QToolTip::hideText();
}

TEST_F(LumTreeTest, ShortNameNeedsNoToolTip)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"short", 0x1000, nullptr);
    QHelpEvent help(QEvent::ToolTip, textOf(item), view->viewport()->mapToGlobal(textOf(item)));
    QCoreApplication::sendEvent(view->viewport(), &help);
    EXPECT_FALSE(QToolTip::isVisible());
}

TEST_F(LumTreeTest, ToolTipIsNeverMarkup)
{
    LumTreeItem* item = tree->AppendItem(nullptr, u"<b>" + std::u16string(200, u'W'), 0x1000, nullptr);
    QHelpEvent help(QEvent::ToolTip, textOf(item), view->viewport()->mapToGlobal(textOf(item)));
    QCoreApplication::sendEvent(view->viewport(), &help);
    EXPECT_TRUE(QToolTip::text().contains("&lt;b&gt;"));
    QToolTip::hideText();
}

} // namespace
