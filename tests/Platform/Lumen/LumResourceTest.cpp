// The texts of resource documents.
#include "Platform/Lumen/LumResource.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <string>

namespace fs = std::filesystem;

namespace {

std::string label(const std::string& name, const std::string& text)
{
    return "<widget class=\"QLabel\" name=\"" + name + "\"><property name=\"text\"><string>" + text
        + "</string></property></widget>";
}

std::string form(const std::string& widgets)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><ui version=\"4.0\"><class>Form</class>"
           "<widget class=\"QWidget\" name=\"Form\">"
        + widgets + "</widget></ui>";
}

class LumResourceTest : public testing::Test {
protected:
    LumResourceTest()
    {
        FSRef folder;
        EXPECT_TRUE(makeRefFromWidePath(m_temp.path().u16string(), folder));
        EXPECT_TRUE(m_files.OpenFolder(folder));
    }

    bool open(const std::string& document)
    {
        m_temp.write("Texts.aui", document);
        return m_document.Open(m_files, u"Texts.aui");
    }
    std::u16string text(SInt32 id) const
    {
        WideText found(u"former");
        m_document.CopyItemText(id, found);
        return std::u16string(found.view());
    }

    ScopedTempDir m_temp;
    PubLumen::LumFileManager m_files;
    PubLumen::LumDocument m_document;
};

} // namespace

TEST_F(LumResourceTest, GivesTheTextOfEachItem)
{
    ASSERT_TRUE(open(form(
        label("text618", "one %s") + "<layout>" + label("text620", "Gr\xC3\xBC\xC3\x9F") + "</layout>")));
    EXPECT_EQ(text(618), u"one %s");
    EXPECT_EQ(text(620), u"Grüß");
}

TEST_F(LumResourceTest, ClearsTheTextOfAnItemThatIsMissing)
{
    ASSERT_TRUE(open(form(label("text618", "one"))));
    EXPECT_EQ(text(61), u"");
    EXPECT_EQ(text(6180), u"");
    EXPECT_EQ(text(-618), u"");
}

TEST_F(LumResourceTest, ReadsMarkupEntitiesAndCharacterData)
{
    ASSERT_TRUE(open(form(label("text1", "&lt;a &amp;&#x20AC;&gt;<![CDATA[ <b> ]]><!-- no -->end"))));
    EXPECT_EQ(text(1), u"<a &€> <b> end");
}

TEST_F(LumResourceTest, TakesTheTextPropertyOfTheWidgetItselfOnly)
{
    const std::string toolTip = "<property name=\"toolTip\"><string>tip</string></property>";
    const std::string inner
        = "<widget class=\"QWidget\" name=\"text2\">" + toolTip + label("other", "inner") + "</widget>";
    const std::string attribute
        = "<widget class=\"QWidget\" name=\"text3\"><attribute name=\"text\"><string>no</string>"
          "</attribute></widget>";
    ASSERT_TRUE(open(form(inner + attribute + label("text4", "yes"))));
    EXPECT_EQ(text(2), u"");
    EXPECT_EQ(text(3), u"");
    EXPECT_EQ(text(4), u"yes");
}

TEST_F(LumResourceTest, TakesTheFirstOfTwoItemsOfOneName)
{
    ASSERT_TRUE(open(form(label("text1", "first") + label("text1", "second"))));
    EXPECT_EQ(text(1), u"first");
}

TEST_F(LumResourceTest, CutsATextThatDoesNotFit)
{
    ASSERT_TRUE(open(form(label("text1", std::string(2000, 'n')))));
    EXPECT_EQ(text(1), std::u16string(1023, u'n'));
}

TEST_F(LumResourceTest, RefusesWhatIsNoForm)
{
    const std::string good = form(label("text1", "x"));
    EXPECT_FALSE(open(""));
    EXPECT_FALSE(open("plain text"));
    EXPECT_FALSE(open("<html></html>"));
    EXPECT_FALSE(open("<html>" + label("text1", "x") + "</html>"));
    EXPECT_FALSE(open(good.substr(0, good.size() - 1))) << "cut short";
    EXPECT_FALSE(open(good + good)) << "two roots";
    EXPECT_FALSE(open(form(label("text1", "\xFF")))) << "not UTF-8";
    EXPECT_FALSE(open(form("<widget name=\"a\" name=\"b\"/>"))) << "an attribute twice";
    EXPECT_TRUE(open(good));
}

TEST_F(LumResourceTest, RefusesDeclaredEntities)
{
    const std::string body
        = "<ui><widget name=\"text1\"><property name=\"text\"><string>&e;</string></property></widget></ui>";
    EXPECT_FALSE(open("<!DOCTYPE ui [<!ENTITY e \"x\">]>" + body));
    EXPECT_FALSE(open("<!DOCTYPE ui [<!ENTITY e SYSTEM \"file:///etc/hostname\">]>" + body));
    EXPECT_TRUE(open("<!DOCTYPE ui><ui/>"));
}

TEST_F(LumResourceTest, BoundsTheNesting)
{
    const auto nested = [](int levels) {
        std::string text = "<ui>";
        for (int i = 1; i < levels; ++i)
            text += "<layout>";
        for (int i = 1; i < levels; ++i)
            text += "</layout>";
        return text + "</ui>";
    };
    EXPECT_TRUE(open(nested(256)));
    EXPECT_FALSE(open(nested(257)));
}

TEST_F(LumResourceTest, BoundsTheDocumentAtOneMebibyte)
{
    const std::string document = form(label("text1", "x"));
    const std::string spaces(1024 * 1024 - document.size(), ' ');
    EXPECT_TRUE(open(document + spaces));
    EXPECT_FALSE(open(document + spaces + " "));
}

TEST_F(LumResourceTest, ForgetsTheFormerDocumentWhenTheNextOneFails)
{
    ASSERT_TRUE(open(form(label("text1", "x"))));
    EXPECT_FALSE(open("<ui>" + label("text1", "half read")));
    EXPECT_EQ(text(1), u"");
}

TEST_F(LumResourceTest, FindsDocumentsInItsFolderOnly)
{
    m_temp.write("Texts.aui", form(""));
    m_temp.write("sub/Inner.aui", form(""));
    EXPECT_EQ(m_files.DocumentPath(u"Texts.aui"), m_temp.at("Texts.aui").string());
    EXPECT_EQ(m_files.DocumentPath(u"sub/Inner.aui"), "");
    EXPECT_EQ(m_files.DocumentPath(u"sub"), "") << "a folder is no document";
    EXPECT_EQ(m_files.DocumentPath(u".."), "");
    EXPECT_EQ(m_files.DocumentPath(u""), "");
    EXPECT_EQ(m_files.DocumentPath(u"Missing.aui"), "");
    EXPECT_FALSE(m_document.Open(m_files, u"Missing.aui"));
}

TEST_F(LumResourceTest, OpensFoldersOnly)
{
    FSRef file;
    ASSERT_TRUE(makeRefFromWidePath(m_temp.write("file", "x").u16string(), file));
    PubLumen::LumFileManager files;
    EXPECT_FALSE(files.OpenFolder(file));
    EXPECT_FALSE(files.OpenFolder(FSRef()));
    EXPECT_EQ(files.DocumentPath(u"file"), "");
}
