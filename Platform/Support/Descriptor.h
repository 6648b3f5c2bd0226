// An owned file descriptor.
#pragma once

#include <unistd.h>
#include <utility>

/// Closes its descriptor when it goes; -1 means none.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int fd)
        : m_fd(fd)
    {
    }
    Descriptor(Descriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        reset(std::exchange(other.m_fd, -1));
        return *this;
    }
    ~Descriptor() { reset(); }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    /// Gives the descriptor up without closing it.
    int release() { return std::exchange(m_fd, -1); }
    void reset(int fd = -1)
    {
        if (m_fd >= 0)
            (void)::close(m_fd); // the data was written and checked before; there is nobody left to tell
        m_fd = fd;
    }

private:
    int m_fd = -1;
};
