// The messages that the provider posted in its last check.
#pragma once

#include "TandemService/UserMessage.h"

#include <memory>
#include <vector>

class MessagePool final : public IUserMsgPool {
public:
    /// More messages than a provider ever has; what comes after is dropped.
    static constexpr std::size_t kMaxMessages = 16;
    /// A longer text is cut, in UTF-16 units.
    static constexpr std::size_t kMaxTextUnits = 1024;

    /// A null provider or text posts nothing.
    void AddMsg(
        const UniChar* providerId, const UniChar* text, SInt32 first, SInt32 second, SInt32 third) override;

    void clear() { m_messages.clear(); }
    bool empty() const { return m_messages.empty(); }
    std::size_t size() const { return m_messages.size(); }
    /// The first message, or null; valid until the pool is cleared.
    UserMessage* first() { return m_messages.empty() ? nullptr : m_messages.front().get(); }

private:
    std::vector<std::unique_ptr<UserMessage>> m_messages;
};
