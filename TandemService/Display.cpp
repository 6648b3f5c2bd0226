#include "TandemService/Display.h"

#include <QGuiApplication>

namespace {

constexpr const char* kPlatformVariable = "QT_QPA_PLATFORM";

} // namespace

DisplayChoice::DisplayChoice(const HostOptions& options)
    : m_chosenHere(qEnvironmentVariableIsEmpty(kPlatformVariable))
    , m_anyDisplay(!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || !qEnvironmentVariableIsEmpty("DISPLAY"))
{
    if (!m_chosenHere)
        return;
    const bool needsWindows = options.mode != HostMode::check && m_anyDisplay;
    (void)qputenv(
        kPlatformVariable, needsWindows ? "wayland;xcb;offscreen" : "offscreen"); // fails without memory only
}

void DisplayChoice::leaveEnvironment() const
{
    if (m_chosenHere)
        (void)qunsetenv(kPlatformVariable); // it is set
}

bool DisplayChoice::canShowWindows() const
{
    return !m_chosenHere || (m_anyDisplay && QGuiApplication::platformName() != QLatin1String("offscreen"));
}
