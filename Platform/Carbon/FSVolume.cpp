#include "Platform/Carbon/FSVolume.h"

#include "Platform/Carbon/FSVolumeInternal.h"
#include "Platform/Support/ErrorNumbers.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace {

constexpr UInt32 kFilledBlockBytes = 18;

/// NFS, SMB, CIFS, SMB 2, Coda, AFS of both kinds, NCP, 9P, Ceph.
constexpr UInt32 kNetworkTypes[] = {0x6969, 0x517B, 0xFF534D42, 0xFE534D42, 0x73757245, 0x5346414F,
    0x6B414653, 0x564C, 0x01021997, 0x00C36400};

} // namespace

OSStatus volumeParms(int folder, VolumeParms& parms)
{
    struct statfs status;
    if (::fstatfs(folder, &status) != 0)
        return errorFromErrno(errno);
    const UInt32 type = static_cast<UInt32>(status.f_type);
    parms = {kFilledBlockBytes, 0, isLocalVolumeType(type), type == BTRFS_SUPER_MAGIC};
    return noErr;
}

bool isLocalVolumeType(UInt32 type)
{
    return std::find(std::begin(kNetworkTypes), std::end(kNetworkTypes), type) == std::end(kNetworkTypes);
}
