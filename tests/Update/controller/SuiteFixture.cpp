#include "tests/Update/controller/SuiteFixture.h"

#include "Platform/Carbon/Alerts.h"
#include "Platform/CoreFoundation/CFURL.h"
#include "Platform/Lumen/CheckTree.h"
#include "Platform/Support/Unicode.h"

#include <QApplication>
#include <QPushButton>
#include <QTest>

#include <fstream>
#include <utility>

namespace {

constexpr char kUrl[] = "/updates/";

void writeFile(const std::filesystem::path& file, const std::string& bytes)
{
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string entry(const std::string& key, const std::string& value)
{
    return "<key>" + key + "</key><string>" + value + "</string>";
}

std::string plist(const std::string& entries)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\"><dict>" + entries
        + "</dict></plist>";
}

std::string fileText(const PublishedFile& file)
{
    const std::string destination
        = file.destination.empty() ? "%updatertemp%/" + file.location : file.destination;
    std::string text = "<FILE name=\"" + file.name + "\" check=\"version\" version=\"" + file.version
        + "\" size=\"" + std::to_string(file.size) + "\" title=\"" + file.title + "\">";
    if (!file.location.empty())
        text += "<action type=\"download\"><destination>" + destination + "</destination><location>"
            + file.location + "</location></action>";
    if (file.unzip)
        text += "<action type=\"unzip\"><location>" + destination + "</location></action>";
    if (!file.run.empty())
        text += "<action type=\"run\"><location>" + file.run + "</location></action>";
    return text + file.extraAction + "</FILE>";
}

std::string escapedBlanks(std::string text)
{
    for (std::size_t at = 0; (at = text.find(' ', at)) != std::string::npos;)
        text.replace(at, 1, "%20");
    return text;
}

CFRef<CFBundleRef> createBundle(const std::filesystem::path& folder)
{
    const std::string path = folder.string();
    const CFRef url = adoptCF(CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault,
        reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()), 1));
    return adoptCF(CFBundleCreate(kCFAllocatorDefault, url));
}

} // namespace

std::string descriptorText(
    const std::string& type, const std::vector<PublishedFile>& files, const std::string& more)
{
    std::string text = "<UPDATEINFO><GENERAL><TYPE>" + type + "</TYPE></GENERAL>" + more + "<FILES>";
    for (const PublishedFile& file : files)
        text += fileText(file);
    return text + "</FILES></UPDATEINFO>";
}

SuiteFixture::SuiteFixture()
{
    const std::string site = m_server.url("");
    m_host.emplace(m_home,
        std::map<std::string, std::string> {{"CFBundleVersion", kHostVersion}, {"language", "eng"},
            {"site", site}, {"url", kUrl}, {"servertimeout", "3000"}});
    m_updateBundle = createBundle(UPDATE_BUNDLE_FOLDER);
    m_plugin.emplace();
    g_UpdatePlugin.fetchedURLs().clear();
    SetAlertsUnattended(true);
    SetAlertListener([this](std::u16string_view message) { m_alerts += utf8FromWide(message) + "\n"; });
}

SuiteFixture::~SuiteFixture()
{
    m_plugin.reset();
    SetAlertListener({});
    SetAlertsUnattended(false);
}

void SuiteFixture::SetUp()
{
    ASSERT_TRUE(m_updateBundle) << UPDATE_BUNDLE_FOLDER;
    m_host->openPort();
    ASSERT_TRUE(m_plugin->attach(&*m_host));
}

std::filesystem::path SuiteFixture::makeBundle(const std::string& name, const std::string& version)
{
    const std::filesystem::path bundle = m_home.root() / "Applications" / (name + ".app");
    writeFile(bundle / "Contents/Info.plist",
        plist(entry("CFBundleName", name) + entry("CFBundleVersion", version) + entry("language", "eng")
            + entry("site", m_server.url("")) + entry("url", kUrl)
            + "<key>servertimeout</key><integer>3000</integer>"));
    return bundle;
}

std::filesystem::path SuiteFixture::install(const std::string& name, const std::string& version)
{
    const std::filesystem::path bundle = makeBundle(name, version);
    char file[16];
    std::snprintf(file, sizeof file, "%02d.plist", ++m_registered);
    writeFile(m_home.root() / "Library/Application Support/Velmora/Tandem Service/Products" / file,
        plist(entry("InstallPath", bundle.string())));
    return bundle;
}

std::string SuiteFixture::descriptorPath(const std::string& name, const std::string& version)
{
    return escapedBlanks(kUrl + ("Update_" + name + "_" + version + "_eng_Mac.xml"));
}

void SuiteFixture::publish(const std::string& name, const std::string& version, const std::string& descriptor)
{
    answerDescriptor(name, version, answer::ok(descriptor));
}

void SuiteFixture::answerDescriptor(const std::string& name, const std::string& version, ServerScript script)
{
    m_server.on(descriptorPath(name, version), std::move(script));
}

void SuiteFixture::publishFile(const std::string& location, const std::string& bytes)
{
    m_server.on(escapedBlanks(kUrl + location), answer::ok(bytes));
}

void SuiteFixture::publishHostUpToDate()
{
    publish(kHostName, kHostVersion, descriptorText("updater", {}));
}

void SuiteFixture::offer(const std::vector<PublishedFile>& files)
{
    publishHostUpToDate();
    (void)install("Velmora Sketch", "1.0.0.0"); // its folder is of no interest here
    publish("Velmora Sketch", "1.0.0.0", descriptorText("app", files));
    for (const PublishedFile& file : files) {
        if (!file.location.empty())
            publishFile(file.location, std::string(static_cast<std::size_t>(file.size), 'x'));
    }
    ASSERT_EQ(check(), 0);
    ASSERT_EQ(host().messages.size(), 1u);
}

SInt32 SuiteFixture::open()
{
    FakeMessage message;
    return plugin().ProcessMsg(&message);
}

QWidget* SuiteFixture::windowWith(const char* control)
{
    for (QWidget* window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && window->findChild<QWidget*>(QString::fromLatin1(control)))
            return window;
    }
    return nullptr;
}

void SuiteFixture::press(const char* button)
{
    QWidget* const window = windowWith(button);
    ASSERT_TRUE(window) << "no window shows " << button;
    auto* const found = window->findChild<QPushButton*>(QString::fromLatin1(button));
    ASSERT_TRUE(found);
    QTest::mouseClick(found, Qt::LeftButton);
}

void SuiteFixture::toggle(const char* branch)
{
    QWidget* const window = windowWith("trev1");
    ASSERT_TRUE(window);
    auto* const tree = dynamic_cast<PubLumen::CheckTree*>(window->findChild<QTreeWidget*>("trev1"));
    ASSERT_TRUE(tree);
    const auto found = tree->findItems(QString::fromUtf8(branch), Qt::MatchExactly);
    ASSERT_EQ(found.size(), 1);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->checkBoxRect(found[0]).center());
}

void SuiteFixture::updateAll()
{
    ASSERT_EQ(open(), 0);
    confirm();
    waitForEnding();
}

void SuiteFixture::startStalledDownload()
{
    offer({PublishedFile {}});
    ServerScript silent;
    silent.stall();
    server().on("/updates/sketch.zip", silent);
    ASSERT_EQ(open(), 0);
    confirm();
    waitFor([] { return windowWith("butn_cancel") != nullptr; });
}

void SuiteFixture::waitFor(const std::function<bool()>& done)
{
    ASSERT_TRUE(QTest::qWaitFor(done, 10000)) << "waited in vain";
}

std::string SuiteFixture::alerts()
{
    return std::exchange(m_alerts, {});
}
