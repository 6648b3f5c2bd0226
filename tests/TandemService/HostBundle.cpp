#include "tests/TandemService/HostBundle.h"

#include <chrono>
#include <cstdlib>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds kPatience(30);
constexpr std::chrono::milliseconds kLookInterval(10);

/// A copy that costs nothing where both places are on one file system.
void place(const fs::path& from, const fs::path& to)
{
    fs::create_directories(to.parent_path());
    std::error_code error;
    fs::create_hard_link(from, to, error);
    if (error)
        fs::copy_file(from, to);
}

template <typename Condition> bool waitUntil(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (std::chrono::steady_clock::now() < end) {
        if (condition())
            return true;
        std::this_thread::sleep_for(kLookInterval);
    }
    return false;
}

int statusOf(pid_t child)
{
    int status = 0;
    if (child <= 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

} // namespace

void writeInfoPlist(const ScopedTempDir& folder, const std::string& bundle, const std::string& identifier,
    const std::string& executable)
{
    (void)folder.write(bundle + "/Contents/Info.plist",
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist "
        "version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>"
            + identifier + "</string><key>CFBundleExecutable</key><string>" + executable
            + "</string></dict></plist>");
}

HostBundle::HostBundle()
{
    const ScopedTempDir& folder = m_home.folder();
    writeInfoPlist(folder, "Tandem.app", "com.velmora.Daemon", "TandemService");
    writeInfoPlist(
        folder, "Tandem.app/Contents/PlugIns/Update.bundle", "com.velmora.test.FakePlugin", "FakePlugin");
    place(HOST_PROGRAM, app() / "Contents/Linux/TandemService");
    place(INSTALLER_PROGRAM, app() / "Contents/Linux/installer");
    place(FAKE_PLUGIN, app() / "Contents/PlugIns/Update.bundle/Contents/Linux/FakePlugin");
    place(HOST_TEXTS, app() / "Contents/Resources/VelTanRes.UI/VelTanRes.aui");
    set("FAKE_LOG", folder.at("log").string());
    set("QT_QPA_PLATFORM", "offscreen");
    // A fault that a sanitizer finds must not look like an exit status of the host's own.
    set("ASAN_OPTIONS", "exitcode=99");
    set("UBSAN_OPTIONS", "exitcode=99");
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "DBUS_SESSION_BUS_ADDRESS"})
        unset(name);
}

HostBundle::~HostBundle()
{
    if (m_running <= 0)
        return;
    (void)kill(m_running, SIGKILL); // it may have ended meanwhile
    (void)statusOf(m_running);      // whatever it was
}

pid_t HostBundle::launch(const std::vector<std::string>& arguments, const std::string& suffix) const
{
    const std::string program = (app() / "Contents/Linux/TandemService").string();
    const std::string out = m_home.folder().at("stdout" + suffix).string();
    const std::string err = m_home.folder().at("stderr" + suffix).string();
    std::vector<char*> words = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments)
        words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0)
        return child;
    for (const std::string& name : m_unset)
        unsetenv(name.c_str());
    for (const auto& [name, value] : m_variables)
        setenv(name.c_str(), value.c_str(), 1);
    const bool redirected = dup2(open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDOUT_FILENO) >= 0
        && dup2(open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), STDERR_FILENO) >= 0;
    m_prepare();
    if (redirected)
        execv(program.c_str(), words.data());
    _exit(99);
}

int HostBundle::run(const std::vector<std::string>& arguments)
{
    return statusOf(launch(arguments, ""));
}

void HostBundle::start(const std::vector<std::string>& arguments)
{
    m_running = launch(arguments, ".started");
}

int HostBundle::wait()
{
    const pid_t child = std::exchange(m_running, 0);
    return statusOf(child);
}

void HostBundle::signal(int number) const
{
    (void)kill(m_running, number); // a process of ours that has not been waited for
}

bool HostBundle::waitForLine(const std::string& line) const
{
    return waitUntil([&] { return ("\n" + log()).find("\n" + line + "\n") != std::string::npos; });
}

bool HostBundle::waitForOutput(const std::string& text) const
{
    const fs::path output = m_home.folder().at("stdout.started");
    return waitUntil([&] { return readWholeFile(output).find(text) != std::string::npos; });
}

bool HostBundle::waitForFile(const fs::path& file)
{
    return waitUntil([&] { return fs::exists(file); });
}
