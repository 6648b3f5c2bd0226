// A whole check, from the registry to the message.
#include "bench/Peers.h"
#include "bench/Rows.h"

#include "Platform/CoreFoundation/CFBundle.h"
#include "Update/UpdateInter.h"
#include "Update/download/DescriptorFetch.h"

#include <fstream>

namespace fs = std::filesystem;

namespace bench {
namespace {

constexpr int kProducts = 50;
constexpr int kRounds = 9;

/// A host that takes the check's message.
class Host final : public IMsgPluginContainer, public IUserMsgPool {
public:
    int messages = 0;

    void EndMsgProcess(const UniChar*, const UniChar*, SInt32, SInt32, SInt32) override { }
    void HostReserved() override { }
    SInt32 CanGenerateMsg() override { return 1; }
    CFURLRef CopyResourceURL(CFBundleRef bundle, CFStringRef name, CFStringRef type) override
    {
        return CFBundleCopyResourceURL(bundle, name, type, nullptr);
    }
    void AddMsg(const UniChar*, const UniChar*, SInt32, SInt32, SInt32) override { ++messages; }
};

void write(const fs::path& file, const std::string& text)
{
    fs::create_directories(file.parent_path());
    std::ofstream(file) << text;
}

std::string list(const std::string& entries)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>" + entries
        + "</dict></plist>";
}

std::string entry(const std::string& key, const std::string& value)
{
    return "<key>" + key + "</key><string>" + value + "</string>";
}

/// Installs, registers and publishes one product; returns its descriptor's URL.
std::string addProduct(const Stage& stage, const std::string& name)
{
    const fs::path root = stage.folder / "root";
    const fs::path bundle = root / "Applications" / (name + ".app");
    write(bundle / "Contents/Info.plist",
        list(entry("CFBundleName", name) + entry("CFBundleVersion", "1.0.0.0") + entry("language", "eng")
            + entry("site", stage.site) + entry("url", "/")));
    write(root / "Library/Application Support/Velmora/Tandem Service/Products" / (name + ".plist"),
        list(entry("InstallPath", bundle.string())));
    const std::string descriptor = "Update_" + name + "_1.0.0.0_eng_Mac.xml";
    write(stage.www / descriptor,
        "<?xml version=\"1.0\" "
        "encoding=\"UTF-8\"?><UPDATEINFO><GENERAL><TYPE>app</TYPE><VERSION>2.0.0.0</VERSION>"
        "</GENERAL><FILES><FILE name=\""
            + name + "\" check=\"version\" version=\"2.0.0.0\" size=\"1000\" title=\"" + name
            + " 2\"><action type=\"download\"><destination>%updatertemp%/a.zip</destination><location>a.zip"
              "</location></action></FILE></FILES></UPDATEINFO>");
    return stage.site + "/" + descriptor;
}

} // namespace

void checkRows(Table& table, const Stage& stage)
{
    std::vector<std::string> urls;
    for (int i = 0; i < kProducts; ++i)
        urls.push_back(addProduct(stage, "Product" + std::to_string(i)));
    Host host;
    require(g_UpdatePlugin.attach(&host), "the plug-in attaches");
    const auto check = [&] {
        // As in a process that has just started: nothing fetched, no descriptor there.
        fs::remove_all(stage.folder / "cache");
        g_UpdatePlugin.fetchedURLs().clear();
        host.messages = 0;
        const double seconds
            = secondsOf([&] { require(g_UpdatePlugin.GenerateMsg(&host) == 0, "a check runs"); });
        require(host.messages == 1, "a check offers the products");
        require(g_UpdatePlugin.fetchedURLs().size() == kProducts, "a check fetches every descriptor");
        return seconds;
    };
    CurlPeer curl;
    const auto fetchAll = [&curl, &urls] {
        for (const std::string& url : urls)
            (void)curl.fetchToMemory(url);
    };
    table.row(
        "whole check of 50 products", "their bare fetches, one handle", check,
        [&fetchAll] { return secondsOf(fetchAll); }, kRounds);
}

} // namespace bench
