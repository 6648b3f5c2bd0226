#include "TandemService/Display.h"

#include <QGuiApplication>

namespace {

constexpr const char* kPlatformVariable = "QT_QPA_PLATFORM";
constexpr const char* kOffscreen = "offscreen";

QtMessageHandler g_formerHandler = nullptr;

/// The platforms to try, in order, for windows that the user sees; each followed by ";".
QByteArray platformsWithWindows()
{
    QByteArray platforms;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        platforms += "wayland;";
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        platforms += "xcb;";
    return platforms;
}

/// Leaves out what the off-screen platform says about each window: nobody sees that window anyway.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (!message.startsWith(QLatin1String("This plugin does not support ")))
        g_formerHandler(type, context, message);
}

bool isOffscreen()
{
    return QGuiApplication::platformName() == QLatin1String(kOffscreen);
}

} // namespace

DisplayChoice::DisplayChoice(const HostOptions& options)
    : m_named(qgetenv(kPlatformVariable))
    , m_isNamed(qEnvironmentVariableIsSet(kPlatformVariable))
{
    // A platform that does not work would end the program: the off-screen one, which always works, comes
    // last.
    QByteArray platforms = kOffscreen;
    if (options.mode != HostMode::check)
        platforms = (m_named.isEmpty() ? platformsWithWindows() : m_named + ';') + kOffscreen;
    (void)qputenv(kPlatformVariable, platforms); // fails without memory only
}

void DisplayChoice::quietenOffscreen()
{
    if (isOffscreen())
        g_formerHandler = qInstallMessageHandler(handleMessage);
}

void DisplayChoice::leaveEnvironment() const
{
    if (m_isNamed)
        (void)qputenv(kPlatformVariable, m_named); // it had that value before
    else
        (void)qunsetenv(kPlatformVariable); // it is set
}

bool DisplayChoice::canShowWindows() const
{
    return !isOffscreen() || m_named.startsWith(kOffscreen);
}
