// One resource document: the texts of its items.
#include "Platform/Lumen/LumResource.h"

#include "Platform/Lumen/FormTextReader.h"
#include "Platform/Support/Descriptor.h"
#include "Platform/Support/Unicode.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace PubLumen {

namespace {

constexpr std::size_t kMaxDocumentBytes = 1024 * 1024;

/// Reads a whole file of at most kMaxDocumentBytes.
bool readDocument(const std::string& path, std::string& bytes)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file)
        return false;
    // One byte more than allowed tells a file that is too long, whatever its size was said to be.
    bytes.resize(kMaxDocumentBytes + 1);
    std::size_t used = 0;
    while (used < bytes.size()) {
        const ssize_t count = ::read(file.get(), bytes.data() + used, bytes.size() - used);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        if (count == 0)
            break;
        used += static_cast<std::size_t>(count);
    }
    bytes.resize(used);
    return used <= kMaxDocumentBytes;
}

} // namespace

bool LumDocument::Open(const LumFileManager& files, std::u16string_view name)
{
    m_texts.clear();
    const std::string path = files.DocumentPath(name);
    std::string bytes;
    return !path.empty() && readDocument(path, bytes) && readFormTexts(bytes, m_texts);
}

void LumDocument::CopyItemText(SInt32 id, WideText& text) const
{
    const auto found = m_texts.find(u"text" + wideFromUtf8(std::to_string(id)));
    if (found == m_texts.end())
        text.clear();
    else
        text.assign(std::u16string_view(found->second));
}

} // namespace PubLumen
