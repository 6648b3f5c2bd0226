// The bytes of a regular file as a stream's body. Private to this folder.
#pragma once

#include "Platform/CFNetwork/BodyBuffer.h"
#include "Platform/CFNetwork/BodySource.h"
#include "Platform/Support/Descriptor.h"

#include <string>

class FileSource final : public BodySource {
public:
    /// `path` is an absolute POSIX path; an empty one cannot be opened.
    explicit FileSource(std::string path);

    bool open(std::function<void()> onChange) override;
    void drive() override { }
    bool hasBytes() const override { return !m_buffer.empty(); }
    SInt32 read(UInt8* buffer, SInt32 length) override;
    BodyState state() const override { return m_state; }
    SInt32 responseStatus() const override { return 0; }

private:
    void fill();

    std::string m_path;
    Descriptor m_file;
    BodyBuffer m_buffer;
    BodyState m_state = BodyState::running;
};
