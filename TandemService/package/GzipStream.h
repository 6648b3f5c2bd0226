// Reads a gzip stream (RFC 1952) and vouches for it: the reader of archives does not compare the checksum and
// the length at its end, this one does.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class GzipStream {
public:
    /// Fills the buffer and returns the number of bytes, 0 at the end, -1 on an error.
    using Fill = std::function<std::ptrdiff_t(char* buffer, std::size_t size)>;

    /// `maxBytes`: how much may come out.
    GzipStream(Fill fill, std::uint64_t maxBytes);
    ~GzipStream();
    GzipStream(const GzipStream&) = delete;
    GzipStream& operator=(const GzipStream&) = delete;

    /// Decompressed bytes; 0 after the last one, once checksum and length were right; -1 on an error, see
    /// error().
    std::ptrdiff_t read(char* buffer, std::size_t size);
    /// Reads to the end: true when only zero bytes (an archive's padding) were left, the stream ended as it
    /// should and nothing follows it.
    bool finish();
    /// What was wrong; empty while nothing was.
    const std::string& error() const { return m_error; }

private:
    struct Converter;

    bool fillInput();
    std::ptrdiff_t fail(const std::string& text);

    Fill m_fill;
    std::uint64_t m_bytesLeft;
    std::unique_ptr<Converter> m_converter;
    std::vector<char> m_input;
    std::size_t m_inputPosition = 0;
    std::size_t m_inputSize = 0;
    bool m_inputEnded = false;
    bool m_ended = false;
    std::string m_error;
};
