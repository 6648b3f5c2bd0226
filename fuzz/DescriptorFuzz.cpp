// Descriptors: any document is interpreted whole or refused, and nothing but the work folders is touched.
// What stands before the first zero byte is the product's descriptor; what follows is that of the bundle it
// may point at, by default the same one again.
#include "Platform/Support/Unicode.h"
#include "Update/descriptor/XMLInterpret.h"
#include "Update/download/DescriptorFetch.h"
#include "fuzz/FuzzSupport.h"

#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

/// A product in apps/Top.bundle, and a bundle in the common folder that its descriptor can point at; both
/// look for descriptors in the folder "site".
class Stage {
public:
    Stage()
        : m_folder(fuzz::enterScratchHome())
    {
        fs::create_directory(m_folder / "site");
        install(top(), "Top");
        install(m_folder / "root/Library/Frameworks/Other.bundle", "Other");
        for (const fs::path& keep : kept())
            fuzz::writeFile(keep, "kept");
    }

    fs::path top() const { return m_folder / "apps/Top.bundle"; }
    fs::path document() const { return m_folder / "document.xml"; }
    fs::path otherDocument() const { return m_folder / "site/Update_Other_1.0.0.0_Mac.xml"; }

    void checkThatNothingWasLost() const
    {
        for (const fs::path& keep : kept())
            fuzz::require(fs::is_regular_file(keep), "no file outside the work folders goes");
        fuzz::require(fs::exists(top() / "Contents/Info.plist"), "no bundle is touched");
    }

private:
    std::vector<fs::path> kept() const
    {
        return {m_folder / "home/keep", m_folder / "cache/keep", top() / "keep"};
    }

    void install(const fs::path& bundle, const std::string& name) const
    {
        fs::create_directories(bundle / "Contents");
        fuzz::writeFile(bundle / "Contents/Info.plist",
            "<plist version=\"1.0\"><dict><key>CFBundleName</key><string>" + name
                + "</string><key>CFBundleVersion</key><string>1.0.0.0</string><key>site</key><string>file://"
                + (m_folder / "site").string() + "</string><key>url</key><string>/</string></dict></plist>");
    }

    fs::path m_folder;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static const Stage stage;
    const std::string_view input = fuzz::asText(bytes, size);
    const std::size_t end = input.find('\0');
    fuzz::writeFile(stage.document(), input.substr(0, end));
    fuzz::writeFile(stage.otherDocument(), end == std::string_view::npos ? input : input.substr(end + 1));
    fetchedDescriptorURLs().clear();

    const std::u16string path = stage.document().u16string();
    OpacLumFSRef* const file = Lum0FSRCreateWithPath(path.c_str());
    CXMLInterpret interpreter(file);
    Lum0FSRRelease(file);
    const std::u16string bundle = stage.top().u16string();
    const bool offers = interpreter.ParseFile(u"Top", u"1.0.0.0", bundle.c_str(), u"http://127.0.0.1/");
    fuzz::require(!offers || !interpreter.filesToUpdate().empty(), "an offer holds a file");
    fuzz::require(
        interpreter.filesToUpdate().size() <= kMaxGatheredFiles, "the files keep within their bound");
    if (offers)
        (void)interpreter.RealCreateDir(); // may fail when the descriptor names an odd folder
    stage.checkThatNothingWasLost();
    return 0;
}
