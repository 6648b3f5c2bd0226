#include "TandemService/package/PayloadMember.h"

#include <cstring>
#include <string_view>

namespace {

constexpr std::size_t kMaxNameBytes = 255;

} // namespace

InstallResult normalisePath(const char* raw, const InstallLimits& limits, std::string& path)
{
    path.clear();
    if (!raw || *raw == '\0')
        return {InstallError::packageDamaged, "a member has no readable name"};
    std::string_view rest = raw;
    if (rest.size() > limits.pathBytes)
        return {InstallError::packageTooLarge, "a member's path is too long"};
    if (rest.front() == '/')
        return {InstallError::packageUnsafe, "a member has an absolute path: " + std::string(rest)};
    std::size_t depth = 0;
    while (!rest.empty()) {
        const std::string_view name = rest.substr(0, rest.find('/'));
        rest.remove_prefix(std::min(rest.size(), name.size() + 1));
        if (name.empty() || name == ".")
            continue;
        if (name == "..")
            return {InstallError::packageUnsafe, std::string("a member leaves the target folder: ") + raw};
        if (name.size() > kMaxNameBytes)
            return {InstallError::packageTooLarge, "a member's name is too long"};
        if (++depth > limits.pathDepth)
            return {InstallError::packageTooLarge, "a member lies too deep"};
        path += path.empty() ? "" : "/";
        path += name;
    }
    return {};
}

InstallResult checkLinkText(const char* raw, const InstallLimits& limits)
{
    if (!raw || *raw == '\0')
        return {InstallError::packageDamaged, "a symbolic link has no readable text"};
    if (std::strlen(raw) > limits.pathBytes)
        return {InstallError::packageTooLarge, "a symbolic link's text is too long"};
    return {};
}

mode_t installMode(mode_t raw, bool isFolder)
{
    return (raw & 0755) | (isFolder ? 0700 : 0400);
}
