// A full disk, for what this process writes.
#pragma once

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>

/// While it lives, this process's files cannot grow beyond `bytes`, as on a full disk.
class ScopedFileSizeLimit {
public:
    explicit ScopedFileSizeLimit(rlim_t bytes)
        : m_formerHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &m_former), 0);
        const rlimit limit {bytes, m_former.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    ScopedFileSizeLimit(const ScopedFileSizeLimit&) = delete;
    ScopedFileSizeLimit& operator=(const ScopedFileSizeLimit&) = delete;
    ~ScopedFileSizeLimit()
    {
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &m_former), 0);
        (void)std::signal(SIGXFSZ, m_formerHandler); // it was valid before
    }

private:
    rlimit m_former {};
    void (*m_formerHandler)(int);
};
