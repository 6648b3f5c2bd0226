#include "Platform/Security/OutputStream.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

bool OutputStream::open()
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0)
        return false;
    m_readEnd.reset(ends[0]);
    m_childEnd.reset(ends[1]);
    // The child's end stays as programs expect it: waiting.
    if (fcntl(m_readEnd.get(), F_SETFL, O_NONBLOCK) != 0)
        return false;
    const int store = memfd_create("tool output", MFD_CLOEXEC);
    if (store < 0)
        return false;
    m_store.reset(fdopen(store, "w+"));
    if (!m_store)
        (void)close(store); // nothing was written to it
    return m_store != nullptr;
}

void OutputStream::takeWhatCame()
{
    constexpr std::size_t kChunkBytes = 16 * 1024;
    // What fits into a pipe of the system's usual largest size: a tool that writes without end keeps nobody
    // here.
    constexpr int kMaxChunks = 64;
    char chunk[kChunkBytes];
    for (int i = 0; i < kMaxChunks; ++i) {
        const ssize_t count = read(m_readEnd.get(), chunk, sizeof(chunk));
        if (count <= 0 && !(count < 0 && errno == EINTR))
            return;
        const std::size_t kept
            = std::min(count < 0 ? 0 : static_cast<std::size_t>(count), kMaxBytes - m_size);
        m_size += std::fwrite(chunk, 1, kept, m_store.get());
    }
}

std::FILE* OutputStream::release()
{
    std::rewind(m_store.get());
    return m_store.release();
}

void OutputStream::Closer::operator()(std::FILE* file) const
{
    (void)std::fclose(file); // nobody wants its bytes any more
}
