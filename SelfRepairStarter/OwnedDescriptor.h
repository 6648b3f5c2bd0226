// A file descriptor that is closed when its owner goes.
#pragma once

#include <unistd.h>
#include <utility>

class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int fd = -1)
        : m_fd(fd)
    {
    }
    OwnedDescriptor(OwnedDescriptor&& other) noexcept
        : m_fd(std::exchange(other.m_fd, -1))
    {
    }
    OwnedDescriptor& operator=(OwnedDescriptor&& other) noexcept
    {
        std::swap(m_fd, other.m_fd);
        return *this;
    }
    ~OwnedDescriptor() { close(); }

    int get() const { return m_fd; }
    explicit operator bool() const { return m_fd >= 0; }
    void close()
    {
        if (m_fd >= 0)
            (void)::close(m_fd); // what was written is made sure of by fsync
        m_fd = -1;
    }

private:
    int m_fd;
};
