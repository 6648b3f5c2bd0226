#include "tests/Update/ui/ProductsFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using PAuProductsTree = ProductsFixture;

constexpr SInt32 kSection = Entry::kSectionOwner;

TEST_F(PAuProductsTree, FixesTheCommonBranchWhenThereAreMandatoryFiles)
{
    scene.addMandatory({.sizeBytes = 5});
    show();
    ASSERT_EQ(tree()->topLevelItemCount(), 1);
    EXPECT_EQ(text(branch(0)), "Common Library");
    EXPECT_EQ(state(branch(0)), 0x3000);
    EXPECT_EQ(branch(0)->childCount(), 0);
}

TEST_F(PAuProductsTree, GivesTheCommonBranchNoCheckBoxWithoutMandatoryFiles)
{
    scene.addOptional({.title = "Fonts"});
    show();
    EXPECT_EQ(state(branch(0)), 0);
    EXPECT_TRUE(branch(0)->icon(0).isNull());
    EXPECT_EQ(state(child(0, 0)), 0x1000);
}

TEST_F(PAuProductsTree, HasNoCommonBranchWithoutCommonFiles)
{
    scene.product({{.title = "Studio"}});
    show();
    ASSERT_EQ(tree()->topLevelItemCount(), 1);
    EXPECT_EQ(text(branch(0)), "Studio");
}

TEST_F(PAuProductsTree, IsEmptyWithoutCollections)
{
    EXPECT_EQ(wind.ShowWnd(&scene.files, nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(tree()->topLevelItemCount(), 0);
}

TEST_F(PAuProductsTree, LeavesOutNullOptionalEntries)
{
    scene.optional = {nullptr, scene.entry({.title = "Fonts"}), nullptr};
    show();
    ASSERT_EQ(branch(0)->childCount(), 1);
    EXPECT_EQ(text(child(0, 0)), "Fonts");
}

TEST_F(PAuProductsTree, NamesAnEntryByItsTitleOrElseItsName)
{
    scene.addOptional({.name = "fonts.zip", .title = "Fonts"});
    scene.addOptional({.name = "looks.zip"});
    show();
    EXPECT_EQ(text(child(0, 0)), "Fonts");
    EXPECT_EQ(text(child(0, 1)), "looks.zip");
}

TEST_F(PAuProductsTree, NamesABranchByTheFirstOwnEntryAndShowsTheOthersBelow)
{
    scene.product({{.ownerCode = kSection, .title = "Looks"}, {.title = "Studio"}, {.title = "Studio II"},
        {.ownerCode = 5, .title = "Shared"}});
    show();
    EXPECT_EQ(text(branch(0)), "Studio");
    EXPECT_EQ(state(branch(0)), 0x1000);
    ASSERT_EQ(branch(0)->childCount(), 2);
    EXPECT_EQ(text(child(0, 0)), "Looks");
    EXPECT_EQ(text(child(0, 1)), "Shared");
    EXPECT_EQ(state(child(0, 0)), 0x1000);
}

TEST_F(PAuProductsTree, BranchWithoutOwnEntryHasNoCheckBoxAndItsChildrenAreChosenOneByOne)
{
    CPListParse* maps = scene.product(
        {{.ownerCode = kSection, .title = "North"}, {.ownerCode = kSection, .title = "South"}});
    show();
    EXPECT_EQ(text(branch(0)), "North");
    EXPECT_EQ(state(branch(0)), 0);
    EXPECT_TRUE(branch(0)->icon(0).isNull());
    clickBox(branch(0));
    EXPECT_THAT(chosen(), ElementsAre(scene.products[maps][0], scene.products[maps][1]));
    clickBox(child(0, 0));
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    EXPECT_THAT(chosen(), ElementsAre(scene.products[maps][1]));
}

TEST_F(PAuProductsTree, ShowsProductsInTheOrderOfTheirCollection)
{
    CPListParse* first = scene.product({{.title = "A"}});
    CPListParse* second = scene.product({{.title = "B"}});
    CPListParse* third = scene.product({{.title = "C"}});
    const ProductFiles unordered = std::exchange(scene.products, {});
    first->setCollectionIndex(2);
    second->setCollectionIndex(0);
    third->setCollectionIndex(1);
    for (const auto& [product, entries] : unordered)
        scene.products[product] = entries;
    show();
    EXPECT_EQ(text(branch(0)), "B");
    EXPECT_EQ(text(branch(1)), "C");
    EXPECT_EQ(text(branch(2)), "A");
}

TEST_F(PAuProductsTree, LeavesOutProductsWithoutEntriesAndTheNullProduct)
{
    scene.product({});
    scene.products[nullptr] = {scene.entry({.title = "Nobody's"})};
    show();
    EXPECT_EQ(tree()->topLevelItemCount(), 0);
}

TEST_F(PAuProductsTree, ToleratesNullEntriesOfAProduct)
{
    CPListParse* product = scene.product({{.title = "Studio"}});
    scene.products[product].insert(scene.products[product].begin(), nullptr);
    show();
    EXPECT_EQ(text(branch(0)), "Studio");
    EXPECT_THAT(chosen(), ElementsAre(scene.products[product][1]));
}

TEST_F(PAuProductsTree, LooksNoCommonBranchUpAmongTheProducts)
{
    scene.addMandatory({});
    scene.addOptional({});
    CPListParse* product = scene.product({{.title = "Studio"}});
    show();
    // The tree stays as it was built: the branch stands for files that are not the window's any more.
    std::vector<CFileSec*> others = scene.mandatory;
    EXPECT_EQ(wind.ShowWnd(&scene.files, &others, &scene.optional, &scene.products), 1);
    EXPECT_THAT(chosen(), ElementsAre(scene.optional[0], scene.products[product][0]));
}

TEST_F(PAuProductsTree, ExpandsEveryBranch)
{
    scene.addOptional({.title = "Fonts"});
    scene.product({{.title = "Studio"}, {.ownerCode = kSection, .title = "Looks"}});
    show();
    EXPECT_TRUE(branch(0)->isExpanded());
    EXPECT_TRUE(branch(1)->isExpanded());
}

TEST_F(PAuProductsTree, UncheckingABranchUnchecksItsChildren)
{
    scene.product({{.title = "Studio"}, {.ownerCode = kSection}, {.ownerCode = kSection}});
    show();
    clickBox(branch(0));
    EXPECT_EQ(state(branch(0)), 0x2000);
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    EXPECT_EQ(state(child(0, 1)), 0x2000);
    EXPECT_THAT(chosen(), IsEmpty());
    clickBox(branch(0));
    EXPECT_EQ(state(branch(0)), 0x1000);
    EXPECT_EQ(state(child(0, 1)), 0x1000);
}

TEST_F(PAuProductsTree, CheckingAChildChecksItsBranchAndBringsInTheOwnEntries)
{
    CPListParse* studio
        = scene.product({{.title = "Studio"}, {.ownerCode = kSection}, {.ownerCode = kSection}});
    show();
    clickBox(branch(0));
    clickBox(child(0, 1));
    EXPECT_EQ(state(branch(0)), 0x1000);
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    EXPECT_THAT(chosen(), ElementsAre(scene.products[studio][0], scene.products[studio][2]));
}

TEST_F(PAuProductsTree, UncheckingTheLastChildLeavesTheBranchChecked)
{
    CPListParse* studio = scene.product({{.title = "Studio"}, {.ownerCode = kSection}});
    show();
    clickBox(child(0, 0));
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    EXPECT_EQ(state(branch(0)), 0x1000);
    EXPECT_THAT(chosen(), ElementsAre(scene.products[studio][0]));
}

TEST_F(PAuProductsTree, UncheckedBranchLeavesOutEvenItsCheckedChildren)
{
    CPListParse* maps = scene.product({{.ownerCode = kSection, .title = "North"}});
    scene.product({{.title = "Studio"}, {.ownerCode = kSection, .title = "Looks"}});
    show();
    branch(1)->setData(0, Qt::UserRole, 0x2000);
    ASSERT_EQ(state(child(1, 0)), 0x1000);
    EXPECT_THAT(chosen(), ElementsAre(scene.products[maps][0]));
}

TEST_F(PAuProductsTree, UncheckingAChildLeavesAnUncheckedBranchUnchecked)
{
    scene.product({{.title = "Studio"}, {.ownerCode = kSection, .title = "Looks"}});
    show();
    branch(0)->setData(0, Qt::UserRole, 0x2000);
    clickBox(child(0, 0));
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    EXPECT_EQ(state(branch(0)), 0x2000);
}

TEST_F(PAuProductsTree, FixedCommonBranchCannotBeUncheckedButItsChildrenCan)
{
    scene.addMandatory({.name = "core"});
    scene.addOptional({.name = "fonts"});
    show();
    clickBox(branch(0));
    EXPECT_EQ(state(branch(0)), 0x3000);
    EXPECT_EQ(state(child(0, 0)), 0x1000);
    clickBox(child(0, 0));
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    EXPECT_EQ(state(branch(0)), 0x3000);
    EXPECT_THAT(chosen(), ElementsAre(scene.mandatory[0]));
    clickBox(child(0, 0));
    EXPECT_EQ(state(branch(0)), 0x3000);
}

TEST_F(PAuProductsTree, ClickBesideTheCheckBoxChangesNothing)
{
    scene.product({{.title = "Studio"}});
    show();
    clickText(branch(0));
    EXPECT_EQ(state(branch(0)), 0x1000);
}

TEST_F(PAuProductsTree, RightClickChangesNothing)
{
    scene.product({{.title = "Studio"}});
    show();
    const QRect row = tree()->visualItemRect(branch(0));
    QTest::mouseClick(tree()->viewport(), Qt::RightButton, {}, {row.left() + 12, row.center().y()});
    EXPECT_EQ(state(branch(0)), 0x1000);
}

TEST_F(PAuProductsTree, CollectsInTheTreesOrder)
{
    scene.addMandatory({.name = "core"});
    scene.addMandatory({.name = "more"});
    scene.addOptional({.name = "fonts"});
    CPListParse* studio = scene.product({{.ownerCode = kSection, .name = "looks"}, {.name = "studio"},
        {.ownerCode = kSection, .name = "prints"}, {.name = "studio2"}});
    CPListParse* desk = scene.product({{.name = "desk"}});
    show();
    const auto& s = scene.products[studio];
    EXPECT_THAT(chosen(),
        ElementsAre(scene.mandatory[0], scene.mandatory[1], scene.optional[0], s[1], s[3], s[0], s[2],
            scene.products[desk][0]));
}

TEST_F(PAuProductsTree, TakesTheMandatoryFilesAsTheyStand)
{
    scene.mandatory = {scene.entry({.name = "core"}), nullptr};
    show();
    EXPECT_THAT(chosen(), ElementsAre(scene.mandatory[0], nullptr));
}

TEST_F(PAuProductsTree, CollectingAppendsToWhatIsThere)
{
    scene.addMandatory({.name = "core"});
    show();
    std::vector<CFileSec*> files {nullptr};
    wind.CalcNeedUpdateFiles(files);
    EXPECT_THAT(files, ElementsAre(nullptr, scene.mandatory[0]));
}

TEST_F(PAuProductsTree, CollectsNothingWithoutAWindow)
{
    scene.addMandatory({.name = "core", .sizeBytes = 9});
    show();
    wind.Dispose();
    EXPECT_THAT(chosen(), IsEmpty());
    EXPECT_EQ(wind.NeedDiskSpace(), 0);
}

TEST_F(PAuProductsTree, ProcedureRefusesNullArguments)
{
    scene.product({{.title = "Studio"}});
    show();
    const PubLumen::LumTreeMouse click;
    EXPECT_EQ(PAuProductsWind::TreeCtrlProc(nullptr, 10001, &click, &wind), -1);
    EXPECT_EQ(PAuProductsWind::TreeCtrlProc(this, 10001, nullptr, &wind), -1);
    EXPECT_EQ(PAuProductsWind::TreeCtrlProc(this, 10001, &click, nullptr), -1);
}

TEST_F(PAuProductsTree, ProcedureIgnoresOtherMessagesAndEvents)
{
    scene.product({{.title = "Studio"}});
    show();
    const QRect row = tree()->visualItemRect(branch(0));
    const QPoint at = tree()->viewport()->mapTo(windows::only(), QPoint(row.left() + 12, row.center().y()));
    PubLumen::LumTreeMouse mouse {PubLumen::kLumMouseClick, {at.x(), at.y()}};
    EXPECT_EQ(PAuProductsWind::TreeCtrlProc(this, 10000, &mouse, &wind), 0);
    EXPECT_EQ(PAuProductsWind::TreeCtrlProc(this, 1000, &mouse, &wind), 0);
    mouse.event = PubLumen::kLumMouseClick + 1;
    EXPECT_EQ(PAuProductsWind::TreeCtrlProc(this, 10001, &mouse, &wind), 0);
    EXPECT_EQ(state(branch(0)), 0x1000);
}

TEST_F(PAuProductsTree, SpaceTogglesTheCurrentRow)
{
    scene.product({{.title = "Studio"}, {.ownerCode = kSection}});
    show();
    tree()->setCurrentItem(child(0, 0));
    QTest::keyClick(tree(), Qt::Key_Space);
    EXPECT_EQ(state(child(0, 0)), 0x2000);
    tree()->setCurrentItem(branch(0));
    QTest::keyClick(tree(), Qt::Key_Space);
    EXPECT_EQ(state(branch(0)), 0x2000);
}

TEST_F(PAuProductsTree, SpaceLeavesFixedAndBoxlessRowsAlone)
{
    scene.addMandatory({.name = "core"});
    scene.product({{.ownerCode = kSection, .title = "North"}});
    show();
    for (QTreeWidgetItem* item : {branch(0), branch(1)}) {
        const int before = state(item);
        tree()->setCurrentItem(item);
        QTest::keyClick(tree(), Qt::Key_Space);
        EXPECT_EQ(state(item), before);
    }
    EXPECT_EQ(state(child(1, 0)), 0x1000);
}

TEST_F(PAuProductsTree, EveryStateHasItsOwnIcon)
{
    scene.addMandatory({.name = "core"});
    scene.product({{.title = "Studio"}, {.ownerCode = kSection}});
    show();
    clickBox(child(1, 0));
    const auto middle = [](const QTreeWidgetItem* item) {
        return item->icon(0).pixmap(QSize(16, 16), 1.0).toImage().pixelColor(8, 3);
    };
    EXPECT_GT(middle(branch(1)).blue(), middle(branch(1)).red() + 60); // checked: blue
    EXPECT_LT(middle(child(1, 0)).alpha(), 40);                        // unchecked: an empty box
    const QColor fixed = middle(branch(0));                            // fixed: grey
    EXPECT_GT(fixed.alpha(), 200);
    EXPECT_LT(std::abs(fixed.blue() - fixed.red()), 30);
}

TEST_F(PAuProductsTree, IconsAreSharpOnDenseScreens)
{
    scene.product({{.title = "Studio"}});
    show();
    EXPECT_EQ(branch(0)->icon(0).pixmap(QSize(16, 16), 2.0).width(), 32);
    EXPECT_EQ(branch(0)->icon(0).pixmap(QSize(16, 16), 3.0).width(), 48);
}

} // namespace
