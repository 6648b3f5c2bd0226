// The built suite in a place of its own, with a server that publishes updates, and its service run as a
// process.
#pragma once

#include "tests/support/FakeHome.h"
#include "tests/support/PackageBuilder.h"
#include "tests/support/ScopedServer.h"

#include <QProcess>
#include <QStringList>

#include <memory>
#include <string>

/// How a run of the service ended.
struct ServiceResult {
    int status = -1;    ///< the exit status; -1 when it crashed or did not end in time
    std::string output; ///< standard output
    std::string errors; ///< standard error
};

class StagedSuite {
public:
    StagedSuite();

    /// Installs a bundle below the root ("Applications/Name.app") and registers it unless told otherwise.
    std::filesystem::path install(const std::string& place, const std::string& name, bool registered = true);
    /// Publishes a descriptor for an installed bundle of version 1.0.0.0 that offers version 2.0.0.0 in a
    /// package; `type` is that of the general section and `more` stands before its files.
    void publish(const std::string& name, const std::filesystem::path& bundle,
        const std::string& type = "app", const std::string& more = {});
    /// Publishes a descriptor for the service itself that offers nothing.
    void publishServiceUpToDate();
    /// Publishes a descriptor for the service itself that offers version 2.0.0.0 in a package; its program is
    /// `program`, a script.
    void publishServiceUpdate(const std::string& program);
    /// Where the archive of a published product is asked for.
    static std::string archivePath(const std::string& name);
    static std::string descriptorPath(const std::string& name);

    /// The version that a bundle's Info.plist names now.
    static std::string versionOf(const std::filesystem::path& bundle);

    /// Starts the service; the caller ends it.
    std::unique_ptr<QProcess> start(const QStringList& options) const;
    /// Waits for the end of a service that was started; one that does not end is killed.
    static ServiceResult finish(QProcess& service);
    /// Runs the service to its end.
    ServiceResult run(const QStringList& options) const;

    ScopedServer& server() { return m_server; }
    const FakeHome& home() const { return m_home; }
    std::filesystem::path app() const;

private:
    /// Publishes an archive of a package, and the descriptor at `path` that offers it.
    void publishPackage(const packages::PackageBuilder& package, const std::string& name,
        const std::string& path, const std::string& type, const std::string& more);
    void writeInfo(const std::filesystem::path& bundle, const std::string& identifier,
        const std::string& executable, const std::string& name) const;

    FakeHome m_home;
    ScopedServer m_server;
    int m_registered = 0;
};
