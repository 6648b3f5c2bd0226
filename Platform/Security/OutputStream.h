// What a tool prints, kept while it runs, and then read as a stream. Private to this folder and its tests.
#pragma once

#include "Platform/Support/Descriptor.h"

#include <cstddef>
#include <cstdio>
#include <memory>

/// Takes what a child writes to the pipe's end, up to 1 MiB; more is read and left out, so that the child
/// never waits for a reader.
class OutputStream {
public:
    static constexpr std::size_t kMaxBytes = 1024 * 1024;

    /// False when the pipe or the store for its bytes could not be made.
    bool open();
    /// The end that the child writes to.
    int childEnd() const { return m_childEnd.get(); }
    /// This process's own copy of that end is no longer needed: the child has started.
    void closeChildEnd() { m_childEnd.reset(); }
    /// Takes what has come, without waiting.
    void takeWhatCame();
    /// The bytes taken, from their beginning; the caller closes it with fclose.
    std::FILE* release();

private:
    struct Closer {
        void operator()(std::FILE* file) const;
    };

    Descriptor m_readEnd;
    Descriptor m_childEnd;
    std::unique_ptr<std::FILE, Closer> m_store;
    std::size_t m_size = 0; ///< in bytes
};
