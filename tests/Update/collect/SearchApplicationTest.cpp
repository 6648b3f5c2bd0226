// Finding a product that was moved: its saved information, the desktop's entry, and how much is the same.
#include "Update/collect/SearchApplication.h"

#include "Update/collect/Collect.h"
#include "tests/support/BundleBuilder.h"
#include "tests/support/DesktopEntries.h"
#include "tests/support/ProductBuilder.h"
#include "tests/support/RunningProgram.h"
#include "tests/support/SavedProductInfo.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

/// The application "com.example.foo" that the desktop knows: the same as SavedProductInfo describes.
BundleBuilder foo()
{
    return BundleBuilder().identifier("com.example.foo").executable("Foo").version("1.0.0.0").name("Product");
}

class MovedProduct : public testing::Test {
protected:
    /// Puts the application where the desktop finds it, and saves its information as "FirstSecond.plist".
    void install(const BundleBuilder& application, const SavedProductInfo& info = SavedProductInfo())
    {
        fs::remove_all(m_home.folder().at("moved"));
        m_bundle = application.build(m_home.folder(), "moved/Foo.app");
        copyWaitingProgram(program());
        m_entries.add("com.example.foo", program().string());
        info.saveIn(m_home, "FirstSecond.plist");
    }
    fs::path program() const { return m_bundle / "Contents/Linux/Foo"; }

    /// The path of what is found, or an empty text.
    std::string find(const char16_t* firstPart = u"First", const char16_t* secondPart = u"Second",
        int pathSize = 1024) const
    {
        char path[1024] = "untouched";
        const bool found = SearchApplicationExistMacDatabase(firstPart, secondPart, path, pathSize);
        EXPECT_TRUE(found || std::string(path) == "untouched");
        return found ? path : "";
    }
    bool isFound() const { return find() == m_bundle.string(); }

    /// Registers it at a path where nothing is, and collects.
    int collect()
    {
        ProductBuilder()
            .firstName("First")
            .secondName("Second")
            .installPath(m_home.folder().at("gone.app"))
            .registerIn(m_home);
        m_collect.CollectProds();
        return m_collect.count();
    }

    FakeHome m_home;
    DesktopEntries m_entries;
    fs::path m_bundle;
    CCollect m_collect;
};

} // namespace

TEST_F(MovedProduct, IsFoundWhenAllFourValuesAreTheSame)
{
    install(foo());
    EXPECT_TRUE(isFound());
}

TEST_F(MovedProduct, IsFoundWhenThreeOfFourValuesAreTheSame)
{
    for (const char* key : {"CFBundleName", "CFBundleVersion", "CFBundleExecutable"}) {
        install(foo(), SavedProductInfo().text(key, "other"));
        EXPECT_TRUE(isFound()) << key;
        install(foo(), SavedProductInfo().without(key));
        EXPECT_TRUE(isFound()) << key;
        install(foo(), SavedProductInfo().element(key, "<integer>1</integer>"));
        EXPECT_TRUE(isFound()) << key;
        install(foo().text(key, "other"));
        EXPECT_TRUE(isFound()) << key;
    }
}

TEST_F(MovedProduct, IsFoundByTheOtherThreeWhenTheBundleHasAnotherIdentifier)
{
    install(foo().identifier("com.example.bar"));
    EXPECT_TRUE(isFound());
    install(foo().without("CFBundleIdentifier"));
    EXPECT_TRUE(isFound());
}

TEST_F(MovedProduct, IsNotFoundWhenOnlyTwoValuesAreTheSame)
{
    install(foo(), SavedProductInfo().text("CFBundleVersion", "2").text("CFBundleExecutable", "Bar"));
    EXPECT_EQ(find(), "");
    install(foo(), SavedProductInfo().without("CFBundleVersion").text("CFBundleName", "Bar"));
    EXPECT_EQ(find(), "");
    install(foo().identifier("com.example.bar").name("Bar"));
    EXPECT_EQ(find(), "");
}

TEST_F(MovedProduct, ValueThatIsMissingOnBothSidesIsNotTheSame)
{
    install(foo().without("CFBundleName").without("CFBundleVersion"),
        SavedProductInfo().without("CFBundleName").without("CFBundleVersion"));
    EXPECT_EQ(find(), "");
}

TEST_F(MovedProduct, ValuesAreComparedIgnoringCase)
{
    install(foo().identifier("COM.example.FOO").executable("fOO").version("1.0.0.0B").name("other"),
        SavedProductInfo().text("CFBundleVersion", "1.0.0.0b"));
    EXPECT_TRUE(isFound());
}

TEST_F(MovedProduct, IsNotFoundWithoutReadableInformation)
{
    install(foo());
    EXPECT_EQ(find(u"First", u"Third"), "");
    EXPECT_EQ(find(u"", u"FirstSecond"), m_bundle.string()) << "both parts are joined without a separator";
    const std::string folder = "root/Library/Application Support/Velmora/Tandem Service/Product Infos/";
    (void)m_home.folder().write(folder + "FirstSecond.plist", "no property list");
    EXPECT_EQ(find(), "");
    (void)m_home.folder().write(folder + "FirstSecond.plist", "<plist version=\"1.0\"><array/></plist>");
    EXPECT_EQ(find(), "");
    install(foo(), SavedProductInfo().without("CFBundleIdentifier"));
    EXPECT_EQ(find(), "");
    install(foo(), SavedProductInfo().element("CFBundleIdentifier", "<true/>"));
    EXPECT_EQ(find(), "");
}

TEST_F(MovedProduct, IsNotFoundWhereItsInformationIsNoFile)
{
    install(foo());
    const fs::path file = m_home.root()
        / "Library/Application Support/Velmora/Tandem Service/Product Infos/FirstSecond.plist";
    fs::resize_file(file, std::uintmax_t {1} << 30);
    EXPECT_EQ(find(), "");
    fs::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(find(), "");
    fs::remove(file);
    fs::create_symlink("FirstSecond.plist", file);
    EXPECT_EQ(find(), "");
    fs::remove(file);
    fs::create_directory(file);
    EXPECT_EQ(find(), "");
}

TEST_F(MovedProduct, IsNotFoundWhenTheDesktopDoesNotKnowIt)
{
    install(foo());
    fs::remove_all(m_entries.folder());
    EXPECT_EQ(find(), "");
}

TEST_F(MovedProduct, IsNotFoundWhenItsPropertyListCannotBeRead)
{
    install(foo());
    (void)m_home.folder().write("moved/Foo.app/Contents/Info.plist", "damaged");
    EXPECT_EQ(find(), "");
}

TEST_F(MovedProduct, PartsNameAFileOfTheFolder)
{
    install(foo());
    SavedProductInfo().saveIn(m_home, "sub/x.plist");
    EXPECT_EQ(find(u"sub/", u"x"), "");
    EXPECT_EQ(find(u"../Product Infos/First", u"Second"), "");
    EXPECT_EQ(find(nullptr, u"Second"), "");
    EXPECT_EQ(find(u"First", nullptr), "");
    EXPECT_EQ(find(u"lone\xD800", u""), "");
    EXPECT_EQ(find(std::u16string(1063, u'f').c_str(), std::u16string(2057, u's').c_str()), "");
}

TEST_F(MovedProduct, PathMustFit)
{
    install(foo());
    const int size = static_cast<int>(m_bundle.string().size()) + 1;
    EXPECT_EQ(find(u"First", u"Second", size), m_bundle.string());
    char path[1024] = {};
    EXPECT_FALSE(SearchApplicationExistMacDatabase(u"First", u"Second", path, size - 1));
    EXPECT_FALSE(SearchApplicationExistMacDatabase(u"First", u"Second", path, 0));
    EXPECT_TRUE(SearchApplicationExistMacDatabase(u"First", u"Second", nullptr, 0)) << "nobody asks for it";
}

TEST_F(MovedProduct, IsCollectedFromWhereItIsFound)
{
    install(foo(), SavedProductInfo().text("CFBundleName", "Former Name"));
    ASSERT_EQ(collect(), 1);
    FSRef found;
    ASSERT_TRUE(CFURLGetFSRef(m_collect.GetIni(0)->bundleURL(), &found));
    EXPECT_EQ(found.path, m_bundle.string());
    EXPECT_EQ(m_collect.GetIni(0)->productName(), std::u16string_view(u"Product"));
}

TEST_F(MovedProduct, IsNotCollectedWhenOnlyIdentifierAndNameAreTheSame)
{
    install(foo(), SavedProductInfo().text("CFBundleVersion", "2").text("CFBundleExecutable", "Bar"));
    EXPECT_EQ(collect(), 0);
}

TEST_F(MovedProduct, IsNotLookedForWhileSomethingIsAtItsPath)
{
    install(foo());
    (void)m_home.folder().makeFolder("gone.app"); // though no bundle
    EXPECT_EQ(collect(), 0);
}

TEST_F(MovedProduct, DoesNotChangeThePathThatTheNextProductInherits)
{
    install(foo());
    ProductBuilder()
        .firstName("First")
        .secondName("Second")
        .installPath("/nowhere/at all")
        .registerIn(m_home, "a.plist");
    ProductBuilder().firstName("Without").registerIn(m_home, "b.plist");
    m_collect.CollectProds();
    ASSERT_EQ(m_collect.count(), 1)
        << "the second one inherits a path where nothing is, and has no information";
    EXPECT_EQ(m_collect.GetIni(0)->productName(), std::u16string_view(u"Product"));
}
