// XML documents as trees: what becomes a node, what is refused, and how far it goes.
#include "Platform/CoreFoundation/CFRef.h"
#include "Platform/CoreFoundation/CFXMLNode.h"
#include "Platform/Support/Unicode.h"
#include "tests/Platform/CoreFoundation/CFText.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

namespace {

CFRef<CFXMLTreeRef> treeOf(std::string_view document)
{
    const CFRef data = adoptCF(CFDataCreate(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(document.data()), static_cast<CFIndex>(document.size())));
    return adoptCF(CFXMLTreeCreateFromData(
        kCFAllocatorDefault, data, nullptr, kCFXMLParserSkipWhitespace, kCFXMLNodeCurrentVersion));
}

CFDictionaryRef attributesOf(CFTreeRef tree)
{
    const void* info = CFXMLNodeGetInfoPtr(CFXMLTreeGetNode(tree));
    return info ? static_cast<const CFXMLElementInfo*>(info)->attributes : nullptr;
}

std::string stringOf(CFTreeRef tree)
{
    return utf8FromWide(CFStringGetView(CFXMLNodeGetString(CFXMLTreeGetNode(tree))));
}

std::string attributeOf(CFTreeRef tree, std::u16string_view name)
{
    const CFDictionaryRef attributes = attributesOf(tree);
    const CFTypeRef value = attributes ? CFDictionaryGetValue(attributes, name) : nullptr;
    return value ? utf8FromWide(CFStringGetView(static_cast<CFStringRef>(value))) : "(none)";
}

/// The children of `tree`: each as its type code, its string and, in parentheses, its own children.
std::string outlineOf(CFTreeRef tree)
{
    std::string outline;
    for (CFIndex i = 0; i < CFTreeGetChildCount(tree); ++i) {
        const CFTreeRef child = CFTreeGetChildAtIndex(tree, i);
        outline += outline.empty() ? "" : " ";
        outline += std::to_string(CFXMLNodeGetTypeCode(CFXMLTreeGetNode(child))) + ":" + stringOf(child);
        if (CFTreeGetChildCount(child) > 0)
            outline += "(" + outlineOf(child) + ")";
    }
    return outline;
}

std::string outlineOf(std::string_view document)
{
    const CFRef tree = treeOf(document);
    return tree ? outlineOf(tree.get()) : "(null)";
}

bool isRefused(std::string_view document)
{
    return !treeOf(document);
}

std::string nested(int levels)
{
    std::string document;
    for (int i = 0; i < levels; ++i)
        document += "<a>";
    for (int i = 0; i < levels; ++i)
        document += "</a>";
    return document;
}

/// `text`, which is ASCII, in UTF-16 without a byte-order mark.
std::string utf16(std::string_view text, bool bigEndian)
{
    std::string wide;
    for (const char c : text)
        wide += bigEndian ? "\0"s + c : c + "\0"s;
    return wide;
}

} // namespace

TEST(CFXMLTree, RootIsADocumentNode)
{
    const CFRef tree = treeOf("<a/>");
    ASSERT_TRUE(tree);
    EXPECT_EQ(CFXMLNodeGetTypeCode(CFXMLTreeGetNode(tree)), kCFXMLNodeTypeDocument);
    EXPECT_EQ(CFXMLNodeGetInfoPtr(CFXMLTreeGetNode(tree)), nullptr);
}

TEST(CFXMLTree, TypeCodesHaveTheirNumbers)
{
    EXPECT_EQ(kCFXMLNodeTypeDocument, 1);
    EXPECT_EQ(outlineOf("<e><?p d?><!--c-->t<![CDATA[d]]></e>"), "2:e(4:p 5:c 6:t 7:d)");
}

TEST(CFXMLTree, TopLevelChildrenAreTheDocumentsOwn)
{
    EXPECT_EQ(
        outlineOf("<?xml version=\"1.0\"?><!--x--><?p d?><!DOCTYPE a><a/><!--y-->"), "5:x 4:p 11:a 2:a 5:y");
}

TEST(CFXMLTree, KeepsDocumentOrder)
{
    EXPECT_EQ(outlineOf("<a><b/><c><d/></c><b/></a>"), "2:a(2:b 2:c(2:d) 2:b)");
}

TEST(CFXMLTree, JoinsAdjacentTextToOneNode)
{
    EXPECT_EQ(outlineOf("<a>1 &lt; 2 &amp; &#x33;\n&gt; &#50;&quot;&apos;</a>"), "2:a(6:1 < 2 & 3\n> 2\"')");
}

TEST(CFXMLTree, JoinsLongTextToOneNode)
{
    const std::string text(300'000, 'x');
    EXPECT_EQ(outlineOf("<a>" + text + "&amp;" + text + "</a>"), "2:a(6:" + text + "&" + text + ")");
}

TEST(CFXMLTree, CommentsInstructionsAndCdataPartText)
{
    EXPECT_EQ(outlineOf("<a>1<!--c-->2<?p?>3<![CDATA[4]]>5</a>"), "2:a(6:1 5:c 6:2 4:p 6:3 7:4 6:5)");
}

TEST(CFXMLTree, AdjacentCdataSectionsAreNodesOfTheirOwn)
{
    EXPECT_EQ(outlineOf("<a><![CDATA[<b>]]><![CDATA[]]><![CDATA[&amp;]]></a>"), "2:a(7:<b> 7: 7:&amp;)");
}

TEST(CFXMLTree, LeavesOutTextOfWhiteSpaceOnly)
{
    EXPECT_EQ(outlineOf("<a>\n\t <b/> \r\n &#32;<b> x </b>\n</a>"), "2:a(2:b 2:b(6: x ))");
}

TEST(CFXMLTree, KeepsBlanksThatAreNoXmlWhiteSpace)
{
    EXPECT_EQ(outlineOf("<a>\xC2\xA0</a>"), "2:a(6:\xC2\xA0)");
}

TEST(CFXMLTree, ElementWithoutAttributesHasNone)
{
    const CFRef tree = treeOf("<a/>");
    ASSERT_TRUE(tree);
    const CFTreeRef element = CFTreeGetChildAtIndex(tree, 0);
    ASSERT_NE(CFXMLNodeGetInfoPtr(CFXMLTreeGetNode(element)), nullptr);
    EXPECT_EQ(attributesOf(element), nullptr);
}

TEST(CFXMLTree, AttributeNamesAreCaseSensitive)
{
    const CFRef tree = treeOf("<a Name='1' name='2' x='&lt;&#65;&amp;'/>");
    ASSERT_TRUE(tree);
    const CFTreeRef element = CFTreeGetChildAtIndex(tree, 0);
    EXPECT_EQ(attributeOf(element, u"Name"), "1");
    EXPECT_EQ(attributeOf(element, u"name"), "2");
    EXPECT_EQ(attributeOf(element, u"x"), "<A&");
    EXPECT_EQ(attributeOf(element, u"NAME"), "(none)");
    EXPECT_TRUE(CFEqual(attributesOf(element),
        adoptCF(CFDictionaryCreateWithPairs(
            {{cf(u"Name"), cf(u"1").get()}, {cf(u"name"), cf(u"2").get()}, {cf(u"x"), cf(u"<A&").get()}}))))
        << "there are no others";
}

TEST(CFXMLTree, KeepsNamesAsWritten)
{
    EXPECT_EQ(outlineOf("<UpdateInfo x:y='1' xmlns:x='u'><x:FILE/></UpdateInfo>"), "2:UpdateInfo(2:x:FILE)");
}

TEST(CFXMLTree, ReadsCharactersOutsideTheBasicPlane)
{
    const CFRef tree = treeOf("<a>\xF0\x9F\x98\x80</a>");
    ASSERT_TRUE(tree);
    const CFTreeRef text = CFTreeGetChildAtIndex(CFTreeGetChildAtIndex(tree, 0), 0);
    EXPECT_EQ(CFStringGetView(CFXMLNodeGetString(CFXMLTreeGetNode(text))), u"\xD83D\xDE00");
}

TEST(CFXMLTree, ReadsUtf16InBothOrders)
{
    EXPECT_EQ(outlineOf("\xFE\xFF" + utf16("<a>x</a>", true)), "2:a(6:x)");
    EXPECT_EQ(outlineOf("\xFF\xFE" + utf16("<a>x</a>", false)), "2:a(6:x)");
}

TEST(CFXMLTree, ReadsUtf8WithByteOrderMark)
{
    EXPECT_EQ(outlineOf("\xEF\xBB\xBF<a>\xC3\xA9</a>"), "2:a(6:\xC3\xA9)");
}

TEST(CFXMLTree, ReadsIso8859)
{
    EXPECT_EQ(outlineOf("<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>"), "2:a(6:\xC3\xA9)");
}

TEST(CFXMLTree, ReadsWindows1252ByAnySpellingOfItsName)
{
    // 0x80 is the euro sign, 0x9F a capital y with diaeresis, 0xE9 an e with acute.
    EXPECT_EQ(outlineOf("<?xml version='1.0' encoding='windows-1252'?><a>\x80\x9F\xE9</a>"),
        "2:a(6:\xE2\x82\xAC\xC5\xB8\xC3\xA9)");
    EXPECT_EQ(outlineOf("<?xml version='1.0' encoding='WINDOWS-1252'?><a>\x93q\x94</a>"),
        "2:a(6:\xE2\x80\x9Cq\xE2\x80\x9D)");
}

TEST(CFXMLTree, RefusesBytesThatWindows1252DoesNotHave)
{
    EXPECT_TRUE(isRefused("<?xml version='1.0' encoding='windows-1252'?><a>\x81</a>"));
}

TEST(CFXMLTree, RefusesEncodingsThatItDoesNotKnow)
{
    EXPECT_TRUE(isRefused("<?xml version='1.0' encoding='EBCDIC-X'?><a/>"));
    EXPECT_TRUE(isRefused("<?xml version='1.0' encoding='windows-1251'?><a/>"));
}

TEST(CFXMLTree, AcceptsADocumentTypeThatNamesAnExternalOne)
{
    EXPECT_EQ(outlineOf("<!DOCTYPE a><a/>"), "11:a 2:a");
    EXPECT_EQ(
        outlineOf("<!DOCTYPE a SYSTEM 'http://127.0.0.1:1/x.dtd'><a b='&amp;'>&lt;</a>"), "11:a 2:a(6:<)");
    EXPECT_EQ(outlineOf("<!DOCTYPE a PUBLIC '-//V//X//EN' 'file:///etc/passwd'><a/>"), "11:a 2:a");
}

struct RefusedDocument {
    const char* name;
    std::string document;
};

class CFXMLTreeRefuses : public testing::TestWithParam<RefusedDocument> { };

TEST_P(CFXMLTreeRefuses, Document)
{
    EXPECT_TRUE(isRefused(GetParam().document));
}

INSTANTIATE_TEST_SUITE_P(Declarations, CFXMLTreeRefuses,
    testing::Values(RefusedDocument {"Entity", "<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>"},
        RefusedDocument {"UnusedEntity", "<!DOCTYPE a [<!ENTITY e 'x'>]><a/>"},
        RefusedDocument {"ParameterEntity", "<!DOCTYPE a [<!ENTITY % e 'x'>]><a/>"},
        RefusedDocument {"ParameterEntityReference", "<!DOCTYPE a [%e;]><a/>"},
        RefusedDocument {
            "ExternalEntity", "<!DOCTYPE a [<!ENTITY e SYSTEM 'file:///etc/passwd'>]><a>&e;</a>"},
        RefusedDocument {"ManyLaughs",
            "<!DOCTYPE a [<!ENTITY b 'ha'><!ENTITY c '&b;&b;&b;&b;'><!ENTITY d '&c;&c;&c;&c;'>]><a>&d;</a>"},
        RefusedDocument {"DefaultAttribute", "<!DOCTYPE a [<!ATTLIST a b CDATA 'x'>]><a/>"},
        RefusedDocument {"ElementDeclaration", "<!DOCTYPE a [<!ELEMENT a ANY>]><a/>"},
        RefusedDocument {"UndeclaredEntityInText", "<a>&e;</a>"},
        RefusedDocument {"UndeclaredEntityInAttribute", "<a b='&e;'/>"},
        RefusedDocument {"EntityOfAnExternalSubsetInText", "<!DOCTYPE a SYSTEM 'x.dtd'><a>&e;</a>"},
        RefusedDocument {
            "EntityOfAnExternalSubsetInAttribute", "<!DOCTYPE a SYSTEM 'x.dtd'><a b='1' c='&amp;&e;'/>"},
        RefusedDocument {
            "EntityOfAPublicSubsetInAttribute", "<!DOCTYPE a PUBLIC 'p' 'x.dtd'><a c='&ltx;'></a>"},
        RefusedDocument {"EntityInUtf16AttributeBigEndian",
            "\xFE\xFF" + utf16("<!DOCTYPE a SYSTEM 'x.dtd'><a c='&e;'/>", true)},
        RefusedDocument {"EntityInUtf16AttributeLittleEndian",
            "\xFF\xFE" + utf16("<!DOCTYPE a SYSTEM 'x.dtd'><a c='&e;'/>", false)}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(NotWellFormed, CFXMLTreeRefuses,
    testing::Values(RefusedDocument {"Empty", ""}, RefusedDocument {"BlanksOnly", " \n"},
        RefusedDocument {"TextOnly", "hello"}, RefusedDocument {"UnclosedElement", "<a><b></a>"},
        RefusedDocument {"Unfinished", "<a><b/>"}, RefusedDocument {"CutInATag", "<a><b"},
        RefusedDocument {"TwoRoots", "<a/><b/>"}, RefusedDocument {"DuplicateAttribute", "<a b='1' b='2'/>"},
        RefusedDocument {"BareAmpersand", "<a>x & y</a>"},
        RefusedDocument {"BareAmpersandInAttribute", "<a b='&'/>"},
        RefusedDocument {"InvalidUtf8", "<a>\xC3(</a>"}, RefusedDocument {"OverlongUtf8", "<a>\xC0\xAF</a>"},
        RefusedDocument {"NulByte", "<a>x\0y</a>"s}, RefusedDocument {"ControlCharacter", "<a>&#1;</a>"},
        RefusedDocument {"SurrogateReference", "<a>&#xD800;</a>"},
        RefusedDocument {"OddUtf16", "\xFE\xFF" + utf16("<a/>", true) + "x"},
        RefusedDocument {"TextAfterRoot", "<a/>x"}, RefusedDocument {"MismatchedCase", "<a></A>"}),
    [](const auto& test) { return test.param.name; });

TEST(CFXMLTree, RefusesNoData)
{
    EXPECT_EQ(CFXMLTreeCreateFromData(kCFAllocatorDefault, nullptr, nullptr, kCFXMLParserSkipWhitespace,
                  kCFXMLNodeCurrentVersion),
        nullptr);
}

TEST(CFXMLTree, BuildsAndFreesOneHundredThousandLevels)
{
    CFRef tree = treeOf(nested(100'000));
    ASSERT_TRUE(tree);
    int levels = 0;
    for (CFTreeRef at = tree; CFTreeGetChildCount(at) == 1; at = CFTreeGetChildAtIndex(at, 0))
        ++levels;
    EXPECT_EQ(levels, 100'000);
    tree = nullptr;
}

TEST(CFXMLTree, RefusesMoreThanOneHundredThousandLevels)
{
    EXPECT_TRUE(isRefused(nested(100'001)));
    EXPECT_TRUE(isRefused(nested(1'000'000)));
}

TEST(CFXMLTree, RefusesMoreThanThreeMillionNodesAndAttributes)
{
    std::string children;
    for (int i = 0; i < 2'999'999; ++i)
        children += "<b/>";
    EXPECT_FALSE(isRefused("<a>" + children + "</a>"));
    EXPECT_TRUE(isRefused("<a c=''>" + children + "</a>"));
}

TEST(CFXMLTree, SharesNamesWithoutMixingThemUp)
{
    // More names than are kept to be shared, each of them twice.
    std::string children;
    std::string outline;
    for (int i = 0; i < 2'400; ++i) {
        const std::string name = "n" + std::to_string(i % 1'200);
        children += "<" + name + " " + name + "='" + std::to_string(i) + "'/>";
        outline += (i == 0 ? "2:" : " 2:") + name;
    }
    const CFRef tree = treeOf("<a>" + children + "</a>");
    ASSERT_TRUE(tree);
    const CFTreeRef root = CFTreeGetChildAtIndex(tree, 0);
    EXPECT_EQ(outlineOf(root), outline);
    for (const int i : {0, 999, 1'000, 1'199, 1'200, 2'199, 2'200, 2'399})
        EXPECT_EQ(attributeOf(CFTreeGetChildAtIndex(root, i), u"n" + wideFromUtf8(std::to_string(i % 1'200))),
            std::to_string(i));
}

TEST(CFXMLTree, RefusesMoreThan64MiB)
{
    const std::string markup = "<?p ?><a/>";
    std::string document = "<?p " + std::string(64 * 1024 * 1024 - markup.size(), 'x') + "?><a/>";
    EXPECT_FALSE(isRefused(document));
    document += " ";
    EXPECT_TRUE(isRefused(document));
}

TEST(CFXMLTree, SubtreeThatSomebodyKeepsOutlivesItsDocument)
{
    CFRef tree = treeOf("<a><b><c>x</c></b></a>");
    ASSERT_TRUE(tree);
    const CFRef kept = retainCF(CFTreeGetChildAtIndex(CFTreeGetChildAtIndex(tree, 0), 0));
    tree = nullptr;
    EXPECT_EQ(stringOf(kept), "b");
    EXPECT_EQ(outlineOf(kept.get()), "2:c(6:x)");
}

TEST(CFXMLTreeDeathTest, IndexOutsideTheChildrenIsAnError)
{
    const CFRef tree = treeOf("<a/>");
    ASSERT_TRUE(tree);
    EXPECT_DEATH(CFTreeGetChildAtIndex(tree, 1), "failed assertion");
    EXPECT_DEATH(CFTreeGetChildAtIndex(tree, -1), "failed assertion");
}
