#include "TandemService/package/Journal.h"

#include "TandemService/package/FolderTree.h"

#include <cerrno>
#include <charconv>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

namespace {

// The form: a first line, for each entry "+" (added) or "=" (replaces), the name's length in bytes, a blank,
// the name and a newline; a last line.
constexpr std::string_view kFirstLine = "install journal 1\n";
constexpr std::string_view kLastLine = "end\n";
constexpr const char* kTemporaryName = "journal.new";
constexpr off_t kMaxJournalBytes = 512 << 20;

bool writeAll(int file, std::string_view text)
{
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno != EINTR)
            return false;
        if (count > 0)
            text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool readAll(int file, std::string& text)
{
    struct stat status = {};
    if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size > kMaxJournalBytes)
        return false;
    text.resize(static_cast<std::size_t>(status.st_size));
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = pread(file, text.data() + done, text.size() - done, static_cast<off_t>(done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        done += static_cast<std::size_t>(count);
    }
    return true;
}

bool takeEntry(std::string_view& text, SwapEntry& entry)
{
    if (text.empty() || (text[0] != '+' && text[0] != '='))
        return false;
    entry.replaces = text[0] == '=';
    std::size_t length = 0;
    const auto [end, error] = std::from_chars(text.data() + 1, text.data() + text.size(), length);
    if (error != std::errc() || length == 0 || length > 255)
        return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (text.size() < length + 2 || text[0] != ' ' || text[length + 1] != '\n')
        return false;
    entry.name = text.substr(1, length);
    text.remove_prefix(length + 2);
    return entry.name.find('/') == std::string::npos && entry.name.find('\0') == std::string::npos
        && entry.name != "." && entry.name != "..";
}

} // namespace

bool writeJournal(int stagingFolder, const SwapList& entries)
{
    std::string text(kFirstLine);
    for (const SwapEntry& entry : entries)
        text += (entry.replaces ? "=" : "+") + std::to_string(entry.name.size()) + " " + entry.name + "\n";
    text += kLastLine;
    const Descriptor file(
        openat(stagingFolder, kTemporaryName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    return file && writeAll(file.get(), text) && fsync(file.get()) == 0
        && renameat(stagingFolder, kTemporaryName, stagingFolder, kJournalName) == 0
        && syncFolder(stagingFolder);
}

bool readJournal(int stagingFolder, SwapList& entries)
{
    entries.clear();
    const Descriptor file(
        openat(stagingFolder, kJournalName, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    std::string content;
    if (!file || !readAll(file.get(), content))
        return false;
    std::string_view text = content;
    if (!text.starts_with(kFirstLine) || !text.ends_with(kLastLine)
        || text.size() < kFirstLine.size() + kLastLine.size())
        return false;
    text.remove_prefix(kFirstLine.size());
    text.remove_suffix(kLastLine.size());
    while (!text.empty()) {
        SwapEntry entry;
        if (!takeEntry(text, entry))
            return false;
        entries.push_back(entry);
    }
    return true;
}

bool commitJournal(int stagingFolder)
{
    if (renameat(stagingFolder, kJournalName, stagingFolder, kCommittedName) != 0)
        return false;
    if (syncFolder(stagingFolder))
        return true;
    // Not surely on disk: the caller puts everything back, which must happen under the journal's old name.
    const int error = errno;
    (void)renameat(
        stagingFolder, kCommittedName, stagingFolder, kJournalName); // the same error again changes nothing
    errno = error;
    return false;
}
