#include "TandemService/package/GzipStream.h"

#include <algorithm>

#include <gio/gio.h>

namespace {

constexpr std::size_t kBlockBytes = 64 * 1024;

} // namespace

struct GzipStream::Converter {
    Converter()
        : object(G_CONVERTER(g_zlib_decompressor_new(G_ZLIB_COMPRESSOR_FORMAT_GZIP)))
    {
    }
    ~Converter() { g_object_unref(object); }
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;

    GConverter* object;
};

GzipStream::GzipStream(Fill fill, std::uint64_t maxBytes)
    : m_fill(std::move(fill))
    , m_bytesLeft(maxBytes)
    , m_converter(std::make_unique<Converter>())
    , m_input(kBlockBytes)
{
}

GzipStream::~GzipStream() = default;

std::ptrdiff_t GzipStream::fail(const std::string& text)
{
    if (m_error.empty())
        m_error = text;
    return -1;
}

/// Adds input behind what is still unread; false on an error of the source.
bool GzipStream::fillInput()
{
    std::copy(m_input.begin() + static_cast<std::ptrdiff_t>(m_inputPosition),
        m_input.begin() + static_cast<std::ptrdiff_t>(m_inputSize), m_input.begin());
    m_inputSize -= m_inputPosition;
    m_inputPosition = 0;
    if (m_inputSize == m_input.size())
        m_input.resize(
            m_input.size() * 2); // a converter that wants more than a block at once; bounded by its window
    const std::ptrdiff_t count = m_fill(m_input.data() + m_inputSize, m_input.size() - m_inputSize);
    if (count < 0)
        return false;
    m_inputEnded = count == 0;
    m_inputSize += static_cast<std::size_t>(count);
    return true;
}

std::ptrdiff_t GzipStream::read(char* buffer, std::size_t size)
{
    if (!m_error.empty())
        return -1;
    while (!m_ended) {
        gsize taken = 0;
        gsize given = 0;
        GError* error = nullptr;
        const GConverterResult result = g_converter_convert(m_converter->object,
            m_input.data() + m_inputPosition, m_inputSize - m_inputPosition, buffer, size,
            m_inputEnded ? G_CONVERTER_INPUT_AT_END : G_CONVERTER_NO_FLAGS, &taken, &given, &error);
        if (result == G_CONVERTER_ERROR) {
            const bool wantsInput = g_error_matches(error, G_IO_ERROR, G_IO_ERROR_PARTIAL_INPUT);
            g_error_free(error);
            if (!wantsInput)
                return fail("the compressed data is damaged");
            if (m_inputEnded)
                return fail("the compressed data ends too early");
            if (!fillInput())
                return fail("the compressed data cannot be read");
            continue;
        }
        m_inputPosition += taken;
        m_ended = result == G_CONVERTER_FINISHED;
        if (given > m_bytesLeft)
            return fail("the contents are too large");
        m_bytesLeft -= given;
        if (given > 0)
            return static_cast<std::ptrdiff_t>(given);
    }
    return 0;
}

bool GzipStream::finish()
{
    std::vector<char> rest(kBlockBytes);
    std::ptrdiff_t count = 0;
    while ((count = read(rest.data(), rest.size())) > 0) {
        if (std::any_of(rest.begin(), rest.begin() + count, [](char byte) { return byte != 0; }))
            return fail("something follows the end of the archive") == 0;
    }
    if (count < 0)
        return false;
    while (m_inputPosition == m_inputSize && !m_inputEnded) {
        if (!fillInput())
            return fail("the compressed data cannot be read") == 0;
    }
    if (m_inputPosition != m_inputSize)
        return fail("something follows the compressed data") == 0;
    return true;
}
