// The product registry: which files are products, in which order, and what a query writes.
#include "Platform/VelTan/ProductRegistry.h"

#include "tests/support/ChildProcess.h"
#include "tests/support/ProductBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace {

struct ReleaseEnumerator {
    void operator()(VELTAN_ProdEnumerator enumerator) const { VELTAN_ProdEnumGUIDRelease(enumerator); }
};
using Enumerator = std::unique_ptr<VELTAN_ProdEnumState, ReleaseEnumerator>;

Enumerator openRegistry()
{
    VELTAN_ProdEnumerator enumerator = nullptr;
    EXPECT_EQ(VELTAN_ProdEnumGUIDCreate(&enumerator), 0);
    return Enumerator(enumerator);
}

/// A zeroed record that asks for 8300 bytes, which is 0x206C.
VELTAN_ProdInfo emptyRecord()
{
    VELTAN_ProdInfo info = {};
    info.size[2] = 0x20;
    info.size[3] = 0x6C;
    return info;
}

std::vector<std::u16string> firstNames()
{
    std::vector<std::u16string> names;
    const Enumerator enumerator = openRegistry();
    while (const VELTAN_ProdGUID product = VELTAN_ProdEnumGUID(enumerator.get())) {
        VELTAN_ProdInfo info = emptyRecord();
        EXPECT_EQ(VELTAN_ProdQuery(product, &info), 0);
        names.emplace_back(info.firstName);
    }
    return names;
}

SInt32 queryOnly(VELTAN_ProdInfo& info)
{
    const Enumerator enumerator = openRegistry();
    const VELTAN_ProdGUID product = VELTAN_ProdEnumGUID(enumerator.get());
    EXPECT_NE(product, nullptr);
    return VELTAN_ProdQuery(product, &info);
}

} // namespace

TEST(ProductRegistry, HasNoEnumeratorWithoutItsFolder)
{
    const FakeHome home;
    auto enumerator = reinterpret_cast<VELTAN_ProdEnumerator>(1);
    EXPECT_EQ(VELTAN_ProdEnumGUIDCreate(&enumerator), 1);
    EXPECT_EQ(enumerator, nullptr);
}

TEST(ProductRegistry, LiesInTheLocalDomainsSupportFolder)
{
    const FakeHome home;
    home.folder().write("root/Library/Application Support/Velmora/Tandem Service/Products/a.plist",
        "<plist><dict><key>FirstName</key><string>here</string></dict></plist>");
    EXPECT_EQ(firstNames(), std::vector<std::u16string> {u"here"});
}

TEST(ProductRegistry, EmptyFolderHoldsNoProducts)
{
    const FakeHome home;
    std::filesystem::create_directories(productRegistryOf(home));
    EXPECT_TRUE(firstNames().empty());
}

TEST(ProductRegistry, EnumeratesInByteOrderOfTheFileNames)
{
    const FakeHome home;
    for (const char* name : {"b", "a", "B", "a1", "\xC3\xA9", "10", "9"})
        ProductBuilder().firstName(name).registerIn(home, std::string(name) + ".plist");
    EXPECT_EQ(firstNames(), (std::vector<std::u16string> {u"10", u"9", u"B", u"a", u"a1", u"b", u"\u00E9"}));
}

TEST(ProductRegistry, PassesOverFilesThatAreNoPropertyListsByName)
{
    const FakeHome home;
    ProductBuilder().firstName("yes").registerIn(home, "a.plist");
    ProductBuilder().firstName("no").registerIn(home, "b.plist~");
    ProductBuilder().firstName("no").registerIn(home, "c.PLIST");
    ProductBuilder().firstName("no").registerIn(home, "plist");
    EXPECT_EQ(firstNames(), std::vector<std::u16string> {u"yes"});
}

TEST(ProductRegistry, EndsWithNullAgainAndAgain)
{
    const FakeHome home;
    ProductBuilder().registerIn(home);
    const Enumerator enumerator = openRegistry();
    EXPECT_NE(VELTAN_ProdEnumGUID(enumerator.get()), nullptr);
    EXPECT_EQ(VELTAN_ProdEnumGUID(enumerator.get()), nullptr);
    EXPECT_EQ(VELTAN_ProdEnumGUID(enumerator.get()), nullptr);
}

TEST(ProductRegistry, QueryFillsTheThreeTexts)
{
    const FakeHome home;
    ProductBuilder()
        .firstName("One")
        .secondName("Two")
        .installPath("/A & B/\xE2\x82\xAC.app")
        .registerIn(home);
    VELTAN_ProdInfo info = emptyRecord();
    ASSERT_EQ(queryOnly(info), 0);
    EXPECT_EQ(std::u16string(info.firstName), u"One");
    EXPECT_EQ(std::u16string(info.secondName), u"Two");
    EXPECT_EQ(std::u16string(info.installPath), u"/A & B/\u20AC.app");
}

TEST(ProductRegistry, TextsLieAtTheirOffsets)
{
    const FakeHome home;
    ProductBuilder().firstName("1").secondName("2").installPath("3").registerIn(home);
    VELTAN_ProdInfo info = emptyRecord();
    ASSERT_EQ(queryOnly(info), 0);
    const auto* bytes = reinterpret_cast<const char*>(&info);
    EXPECT_EQ(bytes[4], '1');
    EXPECT_EQ(bytes[2132], '2');
    EXPECT_EQ(bytes[6248], '3');
    EXPECT_EQ(sizeof info, 8300U);
}

TEST(ProductRegistry, MissingKeysLeaveTheirTexts)
{
    const FakeHome home;
    ProductBuilder().secondName("new").registerIn(home);
    VELTAN_ProdInfo info = emptyRecord();
    info.firstName[0] = u'f';
    info.secondName[0] = u's';
    info.installPath[0] = u'p';
    ASSERT_EQ(queryOnly(info), 0);
    EXPECT_EQ(std::u16string(info.firstName), u"f");
    EXPECT_EQ(std::u16string(info.secondName), u"new");
    EXPECT_EQ(std::u16string(info.installPath), u"p");
}

TEST(ProductRegistry, ShorterTextReplacesALongerOneWholly)
{
    const FakeHome home;
    ProductBuilder().firstName("x").registerIn(home);
    VELTAN_ProdInfo info = emptyRecord();
    std::fill_n(info.firstName, 20, u'y');
    ASSERT_EQ(queryOnly(info), 0);
    EXPECT_EQ(std::u16string(info.firstName), u"x");
    EXPECT_EQ(info.firstName[5], u'\0');
}

TEST(ProductRegistry, RefusesARecordOfAnotherSize)
{
    const FakeHome home;
    ProductBuilder().firstName("x").registerIn(home);
    VELTAN_ProdInfo info = {};
    EXPECT_EQ(queryOnly(info), 2);
    info.size[0] = 0x6C; // 8300 with the lowest byte first
    info.size[1] = 0x20;
    EXPECT_EQ(queryOnly(info), 2);
    EXPECT_EQ(info.firstName[0], u'\0');
}

TEST(ProductRegistry, LongestFittingTextsAreTaken)
{
    const FakeHome home;
    ProductBuilder()
        .firstName(std::string(1063, 'a'))
        .secondName(std::string(2057, 'b'))
        .installPath(std::string(1025, 'c'))
        .registerIn(home);
    VELTAN_ProdInfo info = emptyRecord();
    ASSERT_EQ(queryOnly(info), 0);
    EXPECT_EQ(std::u16string(info.firstName).size(), 1063U);
    EXPECT_EQ(std::u16string(info.secondName).size(), 2057U);
    EXPECT_EQ(std::u16string(info.installPath).size(), 1025U);
}

struct UnreadableProduct {
    const char* name;
    ProductBuilder product;
};

class ProductRegistryRefuses : public testing::TestWithParam<UnreadableProduct> { };

TEST_P(ProductRegistryRefuses, ProductAndLeavesTheRecord)
{
    const FakeHome home;
    ProductBuilder product = GetParam().product;
    product.registerIn(home);
    VELTAN_ProdInfo info = emptyRecord();
    info.firstName[0] = u'f';
    const VELTAN_ProdInfo before = info;
    EXPECT_EQ(queryOnly(info), 3);
    EXPECT_EQ(std::memcmp(&info, &before, sizeof info), 0);
}

INSTANTIATE_TEST_SUITE_P(Values, ProductRegistryRefuses,
    testing::Values(UnreadableProduct {"LongFirstName", ProductBuilder().firstName(std::string(1064, 'a'))},
        UnreadableProduct {
            "LongSecondName", ProductBuilder().firstName("x").secondName(std::string(2058, 'b'))},
        UnreadableProduct {"LongPath", ProductBuilder().firstName("x").installPath(std::string(1026, 'c'))},
        UnreadableProduct {"NumberAsName", ProductBuilder().element("FirstName", "<integer>1</integer>")},
        UnreadableProduct {
            "BooleanAsPath", ProductBuilder().firstName("x").element("InstallPath", "<true/>")}),
    [](const auto& test) { return test.param.name; });

TEST(ProductRegistry, QueryFailsForFilesThatAreNoDictionaries)
{
    const FakeHome home;
    VELTAN_ProdInfo info = emptyRecord();
    for (const char* text : {"", "<plist><array/></plist>", "<plist><dict>", "bplist00", "hello"}) {
        home.folder().write("root/Library/Application Support/Velmora/Tandem Service/Products/a.plist", text);
        EXPECT_EQ(queryOnly(info), 3) << text;
    }
}

TEST(ProductRegistry, QueryFailsForAFolderAndAFileThatIsGone)
{
    const FakeHome home;
    std::filesystem::create_directories(productRegistryOf(home) / "a.plist");
    VELTAN_ProdInfo info = emptyRecord();
    EXPECT_EQ(queryOnly(info), 3);

    const std::filesystem::path file = ProductBuilder().registerIn(home, "0.plist");
    const Enumerator enumerator = openRegistry();
    const VELTAN_ProdGUID product = VELTAN_ProdEnumGUID(enumerator.get());
    std::filesystem::remove(file);
    EXPECT_EQ(VELTAN_ProdQuery(product, &info), 3);
}

TEST(ProductRegistry, QueryFailsForPipesAndForLinksThatLeadInCircles)
{
    const FakeHome home;
    const std::filesystem::path folder = productRegistryOf(home);
    std::filesystem::create_directories(folder);
    VELTAN_ProdInfo info = emptyRecord();
    ASSERT_EQ(::mkfifo((folder / "a.plist").c_str(), 0600), 0);
    EXPECT_EQ(queryOnly(info), 3);
    std::filesystem::remove(folder / "a.plist");
    std::filesystem::create_symlink("a.plist", folder / "a.plist");
    EXPECT_EQ(queryOnly(info), 3);
}

TEST(ProductRegistry, QueryFailsForAFileThatMayNotBeRead)
{
    if (!child::canChangeUser())
        GTEST_SKIP() << "only root can become another user";
    const FakeHome home;
    const std::filesystem::path file = ProductBuilder().firstName("x").registerIn(home);
    std::filesystem::permissions(home.path(), std::filesystem::perms(0755));
    const auto queryAsNobody = [&file](std::filesystem::perms permissions) {
        std::filesystem::permissions(file, permissions);
        return child::runAsNobody([] {
            VELTAN_ProdInfo info = emptyRecord();
            return static_cast<int>(queryOnly(info));
        });
    };
    EXPECT_EQ(queryAsNobody(std::filesystem::perms(0644)), 0);
    EXPECT_EQ(queryAsNobody(std::filesystem::perms(0600)), 3);
}

TEST(ProductRegistry, HasNoEnumeratorWhereItsFolderIsNone)
{
    const FakeHome home;
    const std::filesystem::path folder = productRegistryOf(home);
    std::filesystem::create_directories(folder.parent_path());
    VELTAN_ProdEnumerator enumerator = nullptr;
    std::filesystem::create_symlink(folder.filename(), folder);
    EXPECT_EQ(VELTAN_ProdEnumGUIDCreate(&enumerator), 1);
    std::filesystem::remove(folder);
    ASSERT_EQ(::mkfifo(folder.c_str(), 0600), 0);
    EXPECT_EQ(VELTAN_ProdEnumGUIDCreate(&enumerator), 1);
    EXPECT_EQ(enumerator, nullptr);
}

TEST(ProductRegistry, NamesThatAreNoTextDoNoHarm)
{
    const FakeHome home;
    ProductBuilder().firstName("x").registerIn(home, "\xFF.plist");
    VELTAN_ProdInfo info = emptyRecord();
    EXPECT_EQ(queryOnly(info), 0);
    EXPECT_EQ(std::u16string(info.firstName), u"x");
}

TEST(ProductRegistry, HasNoEnumeratorForMoreThanTenThousandProducts)
{
    const FakeHome home;
    for (int i = 0; i < 10'000; ++i)
        ProductBuilder().registerIn(home, std::to_string(i) + ".plist");
    EXPECT_NE(openRegistry(), nullptr);
    ProductBuilder().registerIn(home, "more.plist");
    VELTAN_ProdEnumerator enumerator = nullptr;
    EXPECT_EQ(VELTAN_ProdEnumGUIDCreate(&enumerator), 1);
    EXPECT_EQ(enumerator, nullptr);
}
