#include "TandemService/SetupRequest.h"

#include <optional>

namespace {

/// Takes a text and its zero byte from the front.
std::optional<std::string> takeText(std::string_view& payload)
{
    const std::size_t end = payload.find('\0');
    if (end == std::string_view::npos || end == 0)
        return std::nullopt;
    std::string text(payload.substr(0, end));
    payload.remove_prefix(end + 1);
    return text;
}

} // namespace

SetupRequest parseSetupRequest(SInt32 id, std::string_view payload)
{
    if (payload.size() > kMaxSetupPayloadBytes)
        return UnknownRequest {};
    const std::optional<std::string> first = takeText(payload);
    if (!first)
        return UnknownRequest {};
    const auto kind = static_cast<OSType>(id);
    if (kind == kInstallPackageRequest) {
        const std::optional<std::string> second = takeText(payload);
        if (second && payload.empty())
            return InstallPackageRequest {*first, *second};
        return UnknownRequest {};
    }
    if (!payload.empty())
        return UnknownRequest {};
    if (kind == kRelaunchRequest)
        return RelaunchRequest {*first};
    if (kind == kUpdateEndRequest)
        return UpdateEndRequest {*first};
    return UnknownRequest {};
}
