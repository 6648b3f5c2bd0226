#include "TandemService/package/PayloadArchive.h"

#include <cerrno>
#include <memory>
#include <utility>
#include <vector>

#include <archive.h>

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

struct Source {
    GzipStream stream;
    std::uint64_t maxHeldBytes;
    std::uint64_t givenBytes = 0;
    std::vector<char> block = std::vector<char>(kBlockBytes);
};

/// How much of what the library was given it has not used yet: it collects a header, however long that says
/// it is, before it looks at it.
std::uint64_t heldBytes(const Source& source, archive* reader)
{
    return source.givenBytes - static_cast<std::uint64_t>(archive_filter_bytes(reader, 0));
}

la_ssize_t readBlock(archive* reader, void* context, const void** block)
{
    auto* const source = static_cast<Source*>(context);
    if (heldBytes(*source, reader) > source->maxHeldBytes) {
        archive_set_error(reader, E2BIG, "a member's header is too long");
        return -1;
    }
    const std::ptrdiff_t count = source->stream.read(source->block.data(), source->block.size());
    if (count < 0)
        archive_set_error(reader, EIO, "%s", source->stream.error().c_str());
    else
        source->givenBytes += static_cast<std::uint64_t>(count);
    *block = source->block.data();
    return count;
}

} // namespace

InstallResult readPayloadArchive(GzipStream::Fill fill, PayloadFormat format, const InstallLimits& limits,
    const PayloadReader& readPayload)
{
    Source source {GzipStream(std::move(fill), limits.streamBytes), limits.headerBytes};
    const std::unique_ptr<archive, int (*)(archive*)> reader(archive_read_new(), archive_read_free);
    if (!reader || archive_read_support_format_cpio(reader.get()) != ARCHIVE_OK)
        return {InstallError::system, "the archive library cannot be used"};
    if (format == PayloadFormat::tarOrCpio && archive_read_support_format_tar(reader.get()) != ARCHIVE_OK)
        return {InstallError::system, "the archive library cannot be used"};
    if (archive_read_open(reader.get(), &source, nullptr, readBlock, nullptr) != ARCHIVE_OK) {
        const char* text = archive_error_string(reader.get());
        return {InstallError::packageDamaged, std::string("the package is damaged: ") + (text ? text : "")};
    }
    if (InstallResult result = readPayload(reader.get()); !result.ok())
        return result;
    if (!source.stream.finish())
        return {InstallError::packageDamaged, "the package is damaged: " + source.stream.error()};
    return {};
}
