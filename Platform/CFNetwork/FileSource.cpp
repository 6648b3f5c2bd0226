// The bytes of a regular file as a stream's body.
#include "Platform/CFNetwork/FileSource.h"

#include "Platform/Support/RegularFile.h"

#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace {

constexpr std::size_t kFillBytes = 65536;

} // namespace

FileSource::FileSource(std::string path)
    : m_path(std::move(path))
{
}

bool FileSource::open(std::function<void()> onChange)
{
    struct stat status;
    m_file = openRegularFile(m_path, status);
    if (!m_file) {
        m_state = BodyState::failed;
        return false;
    }
    fill();
    onChange();
    return true;
}

SInt32 FileSource::read(UInt8* buffer, SInt32 length)
{
    const std::size_t count = m_buffer.take(buffer, static_cast<std::size_t>(length));
    if (m_buffer.empty() && m_state == BodyState::running)
        fill();
    return static_cast<SInt32>(count);
}

void FileSource::fill()
{
    std::array<char, kFillBytes> bytes;
    ssize_t count = 0;
    do
        count = ::read(m_file.get(), bytes.data(), bytes.size());
    while (count < 0 && errno == EINTR);
    if (count > 0)
        m_buffer.append(bytes.data(), static_cast<std::size_t>(count));
    else
        m_state = count == 0 ? BodyState::ended : BodyState::failed;
}
