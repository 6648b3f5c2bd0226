#include "TandemService/package/WorkingFolder.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>

WorkingFolder::WorkingFolder(int folder)
    : m_before(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC))
    , m_maskBefore(umask(022))
    , m_locale(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr))
    , m_localeBefore(m_locale ? uselocale(m_locale) : nullptr)
{
    m_entered = fchdir(folder) == 0;
}

WorkingFolder::~WorkingFolder()
{
    if (m_before)
        (void)fchdir(m_before.get()); // a folder that has gone meanwhile cannot be entered again
    (void)umask(m_maskBefore);        // returns 022
    if (m_localeBefore)
        (void)uselocale(m_localeBefore); // returns m_locale
    if (m_locale)
        freelocale(m_locale);
}
