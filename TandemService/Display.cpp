#include "TandemService/Display.h"

#include <QGuiApplication>

namespace {

constexpr const char* kPlatformVariable = "QT_QPA_PLATFORM";

QtMessageHandler g_formerHandler = nullptr;

/// The platforms to try, in order, for windows that the user sees.
QByteArray platformsWithWindows()
{
    QByteArray platforms;
    if (!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        platforms += "wayland;";
    if (!qEnvironmentVariableIsEmpty("DISPLAY"))
        platforms += "xcb;";
    return platforms + "offscreen";
}

/// Leaves out what the off-screen platform says about each window: nobody sees that window anyway.
void handleMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (!message.startsWith(QLatin1String("This plugin does not support ")))
        g_formerHandler(type, context, message);
}

} // namespace

DisplayChoice::DisplayChoice(const HostOptions& options)
    : m_chosenHere(qEnvironmentVariableIsEmpty(kPlatformVariable))
    , m_anyDisplay(!qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") || !qEnvironmentVariableIsEmpty("DISPLAY"))
{
    if (!m_chosenHere)
        return;
    const bool needsWindows = options.mode != HostMode::check && m_anyDisplay;
    // Fails without memory only.
    (void)qputenv(kPlatformVariable, needsWindows ? platformsWithWindows() : QByteArray("offscreen"));
}

void DisplayChoice::quietenOffscreen()
{
    if (QGuiApplication::platformName() == QLatin1String("offscreen"))
        g_formerHandler = qInstallMessageHandler(handleMessage);
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
