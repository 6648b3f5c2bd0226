// Documents in files.
#include "Update/collect/XMLDocument.h"

#include "tests/support/TempDir.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

namespace {

class XMLDocumentTest : public testing::Test {
protected:
    XMLDocument read(std::string_view text, SInt64 maxBytes)
    {
        return readAt(m_folder.write("a.xml", text), maxBytes);
    }
    static XMLDocument readAt(const std::filesystem::path& path, SInt64 maxBytes)
    {
        const LumFSRefOwner file(Lum0FSRCreateWithPath(path.u16string().c_str()));
        return readXMLDocument(file.get(), maxBytes);
    }

    ScopedTempDir m_folder;
};

void expectUnread(const XMLDocument& document)
{
    EXPECT_FALSE(document.tree);
    EXPECT_EQ(document.bytes, 0);
}

} // namespace

TEST_F(XMLDocumentTest, IsReadUpToTheLimit)
{
    const XMLDocument document = read("<a/>", 4);
    ASSERT_TRUE(document.tree);
    EXPECT_EQ(CFTreeGetChildCount(document.tree), 1);
    EXPECT_EQ(document.bytes, 4);
    expectUnread(read("<a/>", 3));
}

TEST_F(XMLDocumentTest, TakesNoMemoryForAFileThatIsTooLarge)
{
    const auto file = m_folder.write("large.xml", "<a/>");
    std::filesystem::resize_file(file, std::uintmax_t {1} << 40);
    expectUnread(readAt(file, 1'000));
}

TEST_F(XMLDocumentTest, IsUnreadWithoutAFile)
{
    expectUnread(readXMLDocument(nullptr, 1'000));
    expectUnread(readAt(m_folder.at("gone"), 1'000));
    expectUnread(readAt(m_folder.path(), 1'000));
    expectUnread(read("", 1'000));
}

TEST_F(XMLDocumentTest, HasItsSizeButNoTreeWhenItDoesNotParse)
{
    const XMLDocument document = read("<a>", 1'000);
    EXPECT_FALSE(document.tree);
    EXPECT_EQ(document.bytes, 3);
}
