#include "tests/flows/StagedSuite.h"

#include "tests/support/BundleBuilder.h"
#include "tests/support/ProductBuilder.h"
#include "tests/support/ZipFile.h"

#include <gtest/gtest.h>

namespace {

constexpr int kRunLimitMs = 120000;
constexpr char kServicePlace[] = "Library/Application Support/Velmora/Tandem Service";

BundleBuilder bundleOf(const std::string& name, const std::string& site)
{
    return BundleBuilder().name(name).version("1.0.0.0").language("eng").site(site).url("/u/").integer(
        "servertimeout", 5000);
}

std::string infoOf(const std::filesystem::path& bundle)
{
    return readWholeFile(bundle / "Contents/Info.plist");
}

std::string newerInfo(const std::filesystem::path& bundle)
{
    std::string info = infoOf(bundle);
    const std::size_t at = info.find("1.0.0.0");
    if (at != std::string::npos)
        info.replace(at, 7, "2.0.0.0");
    return info;
}

} // namespace

StagedSuite::StagedSuite()
{
    const std::filesystem::path service = m_home.root() / kServicePlace;
    std::filesystem::create_directories(service);
    std::filesystem::copy(std::filesystem::path(SUITE_FOLDER) / "TandemService.app",
        service / "TandemService.app",
        std::filesystem::copy_options::recursive | std::filesystem::copy_options::copy_symlinks);
    const ScopedTempDir& folder = m_home.folder();
    (void)bundleOf("Tandem Service", m_server.url(""))
        .identifier("com.velmora.Daemon")
        .executable("TandemService")
        .build(folder, std::filesystem::relative(app(), folder.path()).string());
}

std::filesystem::path StagedSuite::app() const
{
    return m_home.root() / kServicePlace / "TandemService.app";
}

std::filesystem::path StagedSuite::install(const std::string& place, const std::string& name, bool registered)
{
    const ScopedTempDir& folder = m_home.folder();
    const auto root = std::filesystem::relative(m_home.root(), folder.path());
    const auto bundle = bundleOf(name, m_server.url("")).build(folder, (root / place).string());
    if (registered)
        (void)ProductBuilder().installPath(bundle).registerIn(m_home,
            std::to_string(++m_registered) + ".plist"); // where the record lies is the registry's business
    return bundle;
}

std::string StagedSuite::archivePath(const std::string& name)
{
    return "/u/" + name + ".zip";
}

std::string StagedSuite::descriptorPath(const std::string& name)
{
    return "/u/Update_" + name + "_1.0.0.0_eng_Mac.xml";
}

void StagedSuite::publishServiceUpToDate()
{
    m_server.on("/u/Update_Velmora%20Tandem_1.0.0.0_eng_Mac.xml", answer::ok("<UPDATEINFO/>"));
}

void StagedSuite::publishServiceUpdate(const std::string& program)
{
    const auto package = packages::PackageBuilder()
                             .folder("./TandemService.app")
                             .folder("./TandemService.app/Contents")
                             .file("./TandemService.app/Contents/Info.plist", newerInfo(app()))
                             .folder("./TandemService.app/Contents/Linux")
                             .file("./TandemService.app/Contents/Linux/TandemService", program, 0755);
    publishPackage(
        package, "Velmora Tandem", "/u/Update_Velmora%20Tandem_1.0.0.0_eng_Mac.xml", "updater", {});
}

void StagedSuite::publish(const std::string& name, const std::filesystem::path& bundle,
    const std::string& type, const std::string& more)
{
    const std::string folder = bundle.filename().string();
    const auto package = packages::PackageBuilder()
                             .folder("./" + folder)
                             .folder("./" + folder + "/Contents")
                             .file("./" + folder + "/Contents/Info.plist", newerInfo(bundle));
    publishPackage(package, name, descriptorPath(name), type, more);
}

void StagedSuite::publishPackage(const packages::PackageBuilder& package, const std::string& name,
    const std::string& path, const std::string& type, const std::string& more)
{
    const std::string file = name.substr(0, name.find(' '));
    const auto flat = package.writeFlat(m_home.folder().at(file + ".pkg"));
    const std::string archive = zipOf(file + ".pkg", readWholeFile(flat));
    m_server.on(archivePath(file), answer::ok(archive));
    m_server.on(path,
        answer::ok("<UPDATEINFO><GENERAL><TYPE>" + type + "</TYPE></GENERAL>" + more + "<FILES><FILE name=\""
            + name + "\" check=\"version\" version=\"2.0.0.0\" size=\"" + std::to_string(archive.size())
            + "\"><action type=\"download\"><destination>%updatertemp%/" + file
            + ".zip</destination><location>" + file
            + ".zip</location></action><action type=\"unzip\"><location>%updatertemp%/" + file
            + ".zip</location></action><action type=\"run\"><location>%updatertemp%/" + file
            + ".pkg</location></action></FILE></FILES></UPDATEINFO>"));
}

std::string StagedSuite::versionOf(const std::filesystem::path& bundle)
{
    const std::string info = infoOf(bundle);
    if (info.find("2.0.0.0") != std::string::npos)
        return "2.0.0.0";
    return info.find("1.0.0.0") != std::string::npos ? "1.0.0.0" : "none";
}

std::unique_ptr<QProcess> StagedSuite::start(const QStringList& options) const
{
    auto process = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("VELMORA_AUTHORIZE", "user");
    process->setProcessEnvironment(environment);
    process->start(QString::fromStdString((app() / "Contents/Linux/TandemService").string()), options);
    EXPECT_TRUE(process->waitForStarted(10000)) << process->errorString().toStdString();
    return process;
}

ServiceResult StagedSuite::finish(QProcess& service)
{
    ServiceResult result;
    if (!service.waitForFinished(kRunLimitMs)) {
        service.kill();
        (void)service.waitForFinished(10000); // it was killed: the test fails by its status
    } else if (service.exitStatus() == QProcess::NormalExit) {
        result.status = service.exitCode();
    }
    result.output = service.readAllStandardOutput().toStdString();
    result.errors = service.readAllStandardError().toStdString();
    return result;
}

ServiceResult StagedSuite::run(const QStringList& options) const
{
    return finish(*start(options));
}
