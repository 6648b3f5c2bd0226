// Desktop entries of a test's own.
#include "tests/support/DesktopEntries.h"

namespace {

std::string entryText(std::string_view exec, std::string_view more)
{
    std::string text = "[Desktop Entry]\nType=Application\nName=Any\nExec=";
    return text.append(exec).append("\n").append(more);
}

std::string fileName(std::string_view folder, std::string_view identifier)
{
    return std::string(folder).append("/applications/").append(identifier).append(".desktop");
}

} // namespace

DesktopEntries::DesktopEntries()
    : m_user("XDG_DATA_HOME", m_folder.at("user").string())
    , m_system("XDG_DATA_DIRS", m_folder.at("none").string() + ":relative:" + m_folder.at("system").string())
{
}

void DesktopEntries::add(std::string_view identifier, std::string_view exec, std::string_view more) const
{
    write(identifier, entryText(exec, more));
}

void DesktopEntries::addForSystem(std::string_view identifier, std::string_view exec) const
{
    (void)m_folder.write(fileName("system", identifier), entryText(exec, ""));
}

void DesktopEntries::write(std::string_view identifier, std::string_view text) const
{
    (void)m_folder.write(fileName("user", identifier), text);
}
