#include "TandemService/AnswerOutput.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <fcntl.h>
#include <unistd.h>

AnswerOutput::AnswerOutput()
{
    (void)std::fflush(stdout); // what was printed before belongs to the old place
    m_standardOutput.reset(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
    if (m_standardOutput)
        (void)::dup2(STDERR_FILENO, STDOUT_FILENO); // without a standard error everything stays where it was
}

AnswerOutput::~AnswerOutput()
{
    (void)std::fflush(stdout); // belongs to standard error
    if (m_standardOutput)
        (void)::dup2(m_standardOutput.get(), STDOUT_FILENO); // both are open: nothing can fail
}

void AnswerOutput::print(std::string_view line) const
{
    const std::string text = std::string(line) + '\n';
    const int fd = m_standardOutput ? m_standardOutput.get() : STDOUT_FILENO;
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = ::write(fd, text.data() + written, text.size() - written);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return;
        written += static_cast<std::size_t>(count);
    }
}
