// Requests of the setup port: any payload gives whole texts or is refused.
#include "TandemService/SetupRequest.h"
#include "fuzz/FuzzSupport.h"

#include <string>

namespace {

/// The payload that a request with these texts has.
std::string payloadOf(const SetupRequest& request)
{
    if (const auto* const install = std::get_if<InstallPackageRequest>(&request))
        return install->package + '\0' + install->target + '\0';
    if (const auto* const relaunch = std::get_if<RelaunchRequest>(&request))
        return relaunch->bundle + '\0';
    if (const auto* const end = std::get_if<UpdateEndRequest>(&request))
        return end->text + '\0';
    return {};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    // A copy of just this size: a read past its end is seen.
    const std::string payload(fuzz::asText(bytes, size));
    for (const OSType id : {kInstallPackageRequest, kRelaunchRequest, kUpdateEndRequest, OSType {0}}) {
        const SetupRequest request = parseSetupRequest(static_cast<SInt32>(id), payload);
        if (std::holds_alternative<UnknownRequest>(request))
            continue;
        fuzz::require(id != 0, "an unknown request is refused");
        fuzz::require(size <= kMaxSetupPayloadBytes, "a long payload is refused");
        fuzz::require(payloadOf(request) == payload, "nothing of a payload is left over");
    }
    return 0;
}
