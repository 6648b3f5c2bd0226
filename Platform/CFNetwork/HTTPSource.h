// One HTTP transfer as a stream's body. Private to this folder.
#pragma once

#include "Platform/CFNetwork/BodyBuffer.h"
#include "Platform/CFNetwork/BodySource.h"
#include "Platform/CFNetwork/CurlMulti.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

class HTTPSource final : public BodySource, private CurlTransfer {
public:
    HTTPSource(std::string url, bool followsRedirects);
    ~HTTPSource() override;

    bool open(std::function<void()> onChange) override;
    void drive() override;
    bool hasBytes() const override { return !m_buffer.empty(); }
    SInt32 read(UInt8* buffer, SInt32 length) override;
    BodyState state() const override { return m_state; }
    SInt32 responseStatus() const override;

private:
    static std::size_t headerCallback(char* bytes, std::size_t size, std::size_t count, void* self);
    static std::size_t bodyCallback(char* bytes, std::size_t size, std::size_t count, void* self);
    bool acceptHeader(std::string_view line);
    bool acceptLength(std::string_view text);
    bool configure();
    void transferDone(CURLcode result) override;

    struct EasyDeleter {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };

    const std::string m_url;
    const bool m_followsRedirects;
    std::unique_ptr<CURL, EasyDeleter> m_easy; ///< lives while the transfer runs
    std::function<void()> m_onChange;
    BodyBuffer m_buffer;
    BodyState m_state = BodyState::running;
    bool m_paused = false;
    std::size_t m_headerBytes = 0;  ///< of the current request's answers
    bool m_sawFinalAnswer = false;  ///< a status line of 200 or above came for the current request
    bool m_headersComplete = false; ///< the empty line after the last answer's header fields came
    std::optional<SInt64> m_length; ///< of the body, as the current answer announces it
    SInt32 m_finalStatus = 0;       ///< set when the transfer is done
};
