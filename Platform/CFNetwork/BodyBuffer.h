// The bytes between a transfer and its reader, first in, first out. Private to this folder.
#pragma once

#include "Platform/Support/Types.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

class BodyBuffer {
public:
    bool empty() const { return size() == 0; }
    /// In bytes.
    std::size_t size() const { return m_bytes.size() - m_taken; }

    void append(const char* bytes, std::size_t count)
    {
        // What was read is dropped before the block would grow, so that it holds little more than what waits.
        if (m_taken > 0 && m_bytes.size() + count > m_bytes.capacity()) {
            m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(m_taken));
            m_taken = 0;
        }
        m_bytes.insert(m_bytes.end(), bytes, bytes + count);
    }

    /// Moves up to `length` bytes to `buffer` and returns how many.
    std::size_t take(UInt8* buffer, std::size_t length)
    {
        const std::size_t count = std::min(length, size());
        if (count == 0)
            return 0;
        std::memcpy(buffer, m_bytes.data() + m_taken, count);
        m_taken += count;
        if (m_taken == m_bytes.size()) {
            m_bytes.clear();
            m_taken = 0;
        }
        return count;
    }

private:
    std::vector<char> m_bytes;
    std::size_t m_taken = 0; ///< how many bytes at the front were read already
};
