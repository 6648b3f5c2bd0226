#include "Update/descriptor/RunHelpTool.h"

#include "Platform/Security/Authorization.h"
#include "Platform/Support/ErrorNumbers.h"

#include <cstdio>

namespace {

constexpr char kIdTool[] = "/usr/bin/id";
constexpr AuthorizationFlags kWantedFlags
    = kAuthorizationFlagInteractionAllowed | kAuthorizationFlagExtendRights | kAuthorizationFlagPreAuthorize;

void copyToStandardOutput(std::FILE* pipe)
{
    constexpr std::size_t kChunkBytes = 128;
    char chunk[kChunkBytes];
    std::size_t count = 0;
    while ((count = std::fread(chunk, 1, sizeof(chunk), pipe)) > 0)
        (void)std::fwrite(chunk, 1, count, stdout); // a closed output changes nothing of the status
    (void)std::fflush(stdout);                      // as above
}

OSStatus runIdTool(AuthorizationRef authorization)
{
    char userName[] = "-un";
    char* const arguments[] = {userName, nullptr};
    std::FILE* pipe = nullptr;
    const OSStatus status = AuthorizationExecuteWithPrivileges(
        authorization, kIdTool, kAuthorizationFlagDefaults, arguments, &pipe);
    if (status != noErr)
        return status;
    copyToStandardOutput(pipe);
    (void)std::fclose(pipe); // it was only read
    return noErr;
}

} // namespace

OSStatus RunHelpTool()
{
    AuthorizationRef authorization = nullptr;
    OSStatus status = AuthorizationCreate(nullptr, nullptr, kAuthorizationFlagDefaults, &authorization);
    if (status == noErr) {
        const AuthorizationItem right {kAuthorizationRightExecute, 0, nullptr, 0};
        const AuthorizationItemSet rights {1, &right};
        status = AuthorizationCopyRights(authorization, &rights, nullptr, kWantedFlags, nullptr);
        if (status == noErr)
            status = runIdTool(authorization);
        (void)AuthorizationFree(
            authorization, kAuthorizationFlagDefaults); // it holds nothing that could fail
    }
    if (status != noErr) {
        std::printf("Status: %ld\n", static_cast<long>(status));
        (void)std::fflush(stdout); // a closed output changes nothing of the status
    }
    return status;
}
