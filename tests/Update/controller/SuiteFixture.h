// A small installed suite, a server that publishes its updates, and the plug-in object between them.
#pragma once

#include "Update/UpdateInter.h"
#include "tests/support/FakeHost.h"
#include "tests/support/ScopedServer.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

class QPushButton;
class QWidget;

/// One "FILE" entry; what is set matters to the test.
struct PublishedFile {
    std::string name = "Velmora Sketch";
    std::string version = "2.0.0.0";
    int size = 100; ///< bytes, as announced
    std::string title {};
    std::string location = "sketch.zip"; ///< on the site; empty: no download action
    std::string destination {};          ///< by default the work folder and the location
    bool unzip = false;                  ///< unpack the destination
    std::string run {};                  ///< the package to install; empty: no run action
    std::string extraAction {};          ///< written as it is
};

/// A descriptor's text; `type` is "updater", "section", "app" or "common".
std::string descriptorText(
    const std::string& type, const std::vector<PublishedFile>& files, const std::string& more = {});

class SuiteFixture : public ::testing::Test {
protected:
    SuiteFixture();
    ~SuiteFixture() override;
    void SetUp() override;

    /// Installs and registers a product, in registration order; returns its bundle's folder.
    std::filesystem::path install(const std::string& name, const std::string& version);
    /// A bundle that is not registered.
    std::filesystem::path makeBundle(const std::string& name, const std::string& version);
    /// Publishes the descriptor of an installed product.
    void publish(const std::string& name, const std::string& version, const std::string& descriptor);
    void answerDescriptor(const std::string& name, const std::string& version, ServerScript script);
    /// Publishes a file below the site.
    void publishFile(const std::string& location, const std::string& bytes);
    /// The path on the server of a descriptor.
    static std::string descriptorPath(const std::string& name, const std::string& version);
    /// One product "Velmora Sketch" 1.0.0.0, checked, that offers these files of an "app" descriptor, with
    /// bytes for every location.
    void offer(const std::vector<PublishedFile>& files);

    /// Runs a check that posts into the host's pool.
    SInt32 check() { return plugin().GenerateMsg(&host()); }
    SInt32 open();
    /// Presses a button of the shown window; fails the test when there is none.
    static void press(const char* button);
    /// Clicks the check box of a branch of the selection window.
    static void toggle(const char* branch);
    void confirm() { press("butn_OK"); }
    /// Opens the message, confirms what is offered and waits until the message has ended.
    void updateAll();
    /// Offers one file, opens the message and confirms; its download has begun and never gets an answer.
    void startStalledDownload();
    /// Processes events until `done` holds; fails the test after ten seconds.
    void waitFor(const std::function<bool()>& done);
    void waitForEnding()
    {
        waitFor([this] { return !host().endings.empty(); });
    }
    /// The visible window that holds a control of that name, or null.
    static QWidget* windowWith(const char* control);
    /// The alerts since the last look, a line each.
    std::string alerts();

    CUpdateInter& plugin() { return *m_plugin; }
    FakeHost& host() { return *m_host; }
    FakeHome& home() { return m_home; }
    ScopedServer& server() { return m_server; }
    std::filesystem::path workFolder() const { return m_home.cache() / "VelmoraTandemUpdater"; }
    std::filesystem::path descriptorFolder() const { return m_home.cache() / "com.Velmora.Tandem.XMLFile"; }

    static constexpr char kHostVersion[] = "1.0.0.0";
    static constexpr char kHostName[] = "Velmora Tandem";

    /// Whether the host's own descriptor says that nothing is new; set before SetUp by a test's constructor.
    void publishHostUpToDate();

private:
    FakeHome m_home;
    ScopedEnvironment m_authorize {"VELMORA_AUTHORIZE", "user"};
    ScopedServer m_server;
    std::optional<FakeHost> m_host;
    CFRef<CFBundleRef> m_updateBundle;
    std::optional<CUpdateInter> m_plugin;
    int m_registered = 0;
    std::string m_alerts;
};
