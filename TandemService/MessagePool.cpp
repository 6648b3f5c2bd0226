#include "TandemService/MessagePool.h"

namespace {

/// The zero-terminated text, of which at most `maxUnits` are looked at; never cut inside a surrogate pair.
std::u16string boundedText(const UniChar* text, std::size_t maxUnits)
{
    std::size_t length = 0;
    while (length < maxUnits && text[length] != 0)
        ++length;
    const bool cut = length == maxUnits && text[length] != 0;
    if (cut && length > 0 && text[length - 1] >= 0xD800 && text[length - 1] <= 0xDBFF)
        --length;
    return std::u16string(text, length);
}

} // namespace

void MessagePool::AddMsg(const UniChar* providerId, const UniChar* text, SInt32, SInt32, SInt32)
{
    if (!providerId || !text || m_messages.size() >= kMaxMessages)
        return;
    m_messages.push_back(std::make_unique<UserMessage>(
        boundedText(providerId, kMaxTextUnits), boundedText(text, kMaxTextUnits)));
}
