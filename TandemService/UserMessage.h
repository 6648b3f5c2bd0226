// One message of a provider, as the host keeps it.
#pragma once

#include "Update/MsgProvider.h"

#include <string>

class UserMessage final : public IUserMsg {
public:
    UserMessage(std::u16string providerId, std::u16string text)
        : m_providerId(std::move(providerId))
        , m_text(std::move(text))
    {
    }

    const UniChar* GetProviderName() override { return m_providerId.c_str(); }
    const std::u16string& text() const { return m_text; }

private:
    std::u16string m_providerId;
    std::u16string m_text;
};
