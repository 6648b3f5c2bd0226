// A private place for everything that a program keeps.
#include "tests/support/FakeHome.h"

#include <cstdlib>
#include <sys/stat.h>

ScopedEnvironment::ScopedEnvironment(const char* name, const std::string& value)
    : ScopedEnvironment(name)
{
    ::setenv(name, value.c_str(), 1);
}

ScopedEnvironment::ScopedEnvironment(const char* name)
    : m_name(name)
{
    if (const char* former = ::getenv(name))
        m_former = former;
    ::unsetenv(name);
}

ScopedEnvironment::~ScopedEnvironment()
{
    if (m_former)
        ::setenv(m_name.c_str(), m_former->c_str(), 1);
    else
        ::unsetenv(m_name.c_str());
}

FakeHome::FakeHome()
    : m_home("HOME", m_folder.makeFolder("home").string())
    , m_cache("XDG_CACHE_HOME", m_folder.makeFolder("cache").string())
    , m_runtime("XDG_RUNTIME_DIR", m_folder.makeFolder("run").string())
    , m_root("VELMORA_ROOT", m_folder.makeFolder("root").string())
{
    ::chmod(runtime().c_str(), 0700);
}
