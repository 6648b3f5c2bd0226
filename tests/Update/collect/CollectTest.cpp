// The products that a check looks at: which ones, in which order, and the walk over them.
#include "Update/collect/Collect.h"

#include "tests/support/BundleBuilder.h"
#include "tests/support/FileURL.h"
#include "tests/support/ProductBuilder.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

using namespace std::string_view_literals;

namespace {

/// A suite of the test's own: registered products, and a host when the test names one.
class CCollectTest : public testing::Test {
protected:
    CCollectTest() { CFBundleSetMainBundle(nullptr); }
    ~CCollectTest() override { CFBundleSetMainBundle(nullptr); }

    void installHost()
    {
        const auto folder = BundleBuilder().name("Host").build(m_home.folder(), "Host.app");
        CFBundleSetMainBundle(folderURL(folder));
    }
    /// Installs a bundle of that name and registers it as NAME.plist.
    void installProduct(const std::string& name)
    {
        const auto folder = BundleBuilder().name(name).build(m_home.folder(), name + ".app");
        ProductBuilder().installPath(folder).registerIn(m_home, name + ".plist");
    }
    void installThree()
    {
        for (const char* name : {"a", "b", "c"})
            installProduct(name);
        ASSERT_EQ(m_collect.DoCollect(0), 3);
    }

    /// The names of all records in the order of the walk.
    std::vector<std::u16string> names()
    {
        std::vector<std::u16string> names;
        for (CPListParse* record = m_collect.GetIni(0); record; record = m_collect.NextIni())
            names.emplace_back(record->productName().view());
        return names;
    }

    FakeHome m_home;
    CCollect m_collect;
};

using Names = std::vector<std::u16string>;

} // namespace

TEST_F(CCollectTest, BeginsEmpty)
{
    EXPECT_EQ(m_collect.count(), 0);
    EXPECT_EQ(m_collect.NextIni(), nullptr);
    EXPECT_EQ(m_collect.GetIni(0), nullptr);
}

TEST_F(CCollectTest, HostComesFirstThenProductsInRegistryOrder)
{
    installProduct("b");
    installProduct("a");
    installProduct("B");
    installHost();
    EXPECT_EQ(m_collect.DoCollect(0), 4);
    EXPECT_EQ(names(), (Names {u"Velmora Tandem", u"B", u"a", u"b"}));
    EXPECT_EQ(m_collect.GetIni(0)->kind(), 1);
    EXPECT_EQ(m_collect.GetIni(1)->kind(), 3);
}

TEST_F(CCollectTest, RecordsKnowTheirOrderAfterOthersWereDeleted)
{
    installThree();
    CPListParse* second = m_collect.GetIni(1);
    CPListParse* third = m_collect.NextIni();
    EXPECT_EQ(second->collectionIndex(), 1);
    EXPECT_EQ(third->collectionIndex(), 2);
    m_collect.DeleteOtherPListParse({third});
    m_collect.DoCollect(0);
    EXPECT_EQ(m_collect.GetIni(0)->collectionIndex(), 2);
    EXPECT_EQ(m_collect.NextIni()->collectionIndex(), 3);
}

TEST_F(CCollectTest, RegistryThatIsMissingLeavesTheHostAlone)
{
    installHost();
    EXPECT_EQ(m_collect.DoCollect(0), 1);
    EXPECT_EQ(names(), (Names {u"Velmora Tandem"}));
}

TEST_F(CCollectTest, HostThatCannotBeReadLeavesTheProducts)
{
    installProduct("a");
    EXPECT_EQ(m_collect.DoCollect(0), 1);
    EXPECT_EQ(names(), (Names {u"a"}));
}

TEST_F(CCollectTest, CollectsNothingWithoutHostAndRegistry)
{
    EXPECT_EQ(m_collect.DoCollect(0), 0);
}

TEST_F(CCollectTest, SharedLibrariesAddNothing)
{
    m_collect.CollectCommonDLL();
    EXPECT_EQ(m_collect.count(), 0);
}

TEST_F(CCollectTest, SecondCollectionAppendsASecondSet)
{
    installHost();
    installProduct("a");
    EXPECT_EQ(m_collect.DoCollect(0), 2);
    EXPECT_EQ(m_collect.DoCollect(1), 4);
    EXPECT_EQ(names(), (Names {u"Velmora Tandem", u"a", u"Velmora Tandem", u"a"}));
}

TEST_F(CCollectTest, ProductRegisteredTwiceIsListedTwice)
{
    installProduct("a");
    ProductBuilder().installPath(m_home.folder().at("a.app")).registerIn(m_home, "again.plist");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"a", u"a"}));
}

TEST_F(CCollectTest, HostThatIsRegisteredTooIsListedTwice)
{
    installHost();
    ProductBuilder().installPath(m_home.folder().at("Host.app")).registerIn(m_home);
    EXPECT_EQ(m_collect.DoCollect(0), 2);
    EXPECT_EQ(names(), (Names {u"Velmora Tandem", u"Host"}));
}

TEST_F(CCollectTest, LeavesOutProductsThatAreNotThere)
{
    installProduct("a");
    ProductBuilder().installPath(m_home.folder().at("gone.app")).registerIn(m_home, "0.plist");
    ProductBuilder().installPath("relative.app").registerIn(m_home, "1.plist");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"a"}));
}

TEST_F(CCollectTest, LeavesOutBundlesWithoutAReadableInfoPlist)
{
    installProduct("a");
    ProductBuilder().installPath(m_home.folder().makeFolder("empty.app")).registerIn(m_home, "0.plist");
    m_home.folder().write("bad.app/Contents/Info.plist", "<plist><dict>");
    ProductBuilder().installPath(m_home.folder().at("bad.app")).registerIn(m_home, "1.plist");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"a"}));
}

TEST_F(CCollectTest, LeavesOutProductsWhoseQueryFails)
{
    installProduct("b");
    ProductBuilder()
        .firstName(std::string(1064, 'x'))
        .installPath(m_home.folder().at("b.app"))
        .registerIn(m_home, "a.plist");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"b"}));
}

TEST_F(CCollectTest, LeavesOutProductsWhosePathIsLongerThan1023Bytes)
{
    // The first 1023 bytes name an existing folder: a path that is too long must fail, and not be cut.
    std::string path = m_home.path().string();
    path += std::string(1023 - path.size() - std::string("/b.app").size(), '/') + "/b.app";
    BundleBuilder().name("b").build(m_home.folder(), "b.app");
    ProductBuilder().installPath(path).registerIn(m_home, "fits.plist");
    ProductBuilder().installPath(path + "/").registerIn(m_home, "too long.plist");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"b"}));
}

TEST_F(CCollectTest, ProductWithoutAPathKeepsThePathOfTheOneBefore)
{
    installProduct("a");
    ProductBuilder().firstName("x").registerIn(m_home, "b.plist");
    installProduct("c");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"a", u"a", u"c"}));
}

TEST_F(CCollectTest, FirstProductWithoutAPathIsLeftOut)
{
    ProductBuilder().firstName("x").registerIn(m_home, "0.plist");
    installProduct("a");
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"a"}));
}

TEST_F(CCollectTest, EachEnumerationBeginsWithAnEmptyRecord)
{
    ProductBuilder().firstName("x").registerIn(m_home, "0.plist");
    installProduct("a");
    m_collect.CollectProds();
    m_collect.CollectProds();
    EXPECT_EQ(names(), (Names {u"a", u"a"}));
}

TEST_F(CCollectTest, GetIniStartsTheWalkAtAnyRecord)
{
    installThree();
    EXPECT_EQ(m_collect.GetIni(1)->productName(), u"b"sv);
    EXPECT_EQ(m_collect.NextIni()->productName(), u"c"sv);
    EXPECT_EQ(m_collect.NextIni(), nullptr);
    EXPECT_EQ(m_collect.NextIni(), nullptr);
    EXPECT_EQ(m_collect.GetIni(0)->productName(), u"a"sv);
}

TEST_F(CCollectTest, GetIniBeyondTheEndLeavesTheCursorThere)
{
    installThree();
    EXPECT_EQ(m_collect.GetIni(5), nullptr);
    EXPECT_EQ(m_collect.NextIni(), nullptr);
    // With three more records the walk goes on at the cursor, which is still 5.
    ASSERT_EQ(m_collect.DoCollect(0), 6);
    CPListParse* const next = m_collect.NextIni();
    EXPECT_NE(next, nullptr);
    EXPECT_EQ(next, m_collect.GetIni(5));
}

TEST_F(CCollectTest, GetIniOfANegativeIndexGivesNothing)
{
    installThree();
    EXPECT_EQ(m_collect.GetIni(-1), nullptr);
    EXPECT_EQ(m_collect.NextIni(), nullptr);
}

TEST_F(CCollectTest, DeletesAllButTheKeptAndStartsTheWalkAnew)
{
    installThree();
    CPListParse* const a = m_collect.GetIni(0);
    CPListParse* const c = m_collect.GetIni(2);
    m_collect.DeleteOtherPListParse({c, a});
    EXPECT_EQ(m_collect.NextIni(), a);
    EXPECT_EQ(m_collect.NextIni(), c);
    EXPECT_EQ(m_collect.NextIni(), nullptr);
    EXPECT_EQ(m_collect.count(), 2);
}

TEST_F(CCollectTest, KeepsByPointerAndNotByName)
{
    installProduct("a");
    m_collect.CollectProds();
    m_collect.CollectProds();
    CPListParse* const second = m_collect.GetIni(1);
    m_collect.DeleteOtherPListParse({second, nullptr});
    EXPECT_EQ(m_collect.count(), 1);
    EXPECT_EQ(m_collect.GetIni(0), second);
}

TEST_F(CCollectTest, EmptyKeepListDeletesEverything)
{
    installThree();
    m_collect.DeleteOtherPListParse({});
    EXPECT_EQ(m_collect.count(), 0);
    EXPECT_EQ(m_collect.GetIni(0), nullptr);
}
