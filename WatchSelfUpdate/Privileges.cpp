#include "WatchSelfUpdate/Privileges.h"

#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr uid_t kRootUser = 0;

bool dropCapabilities()
{
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    return syscall(SYS_capset, &header, none) == 0;
}

bool hasOnly(uid_t user, gid_t group)
{
    uid_t users[3] = {};
    gid_t groups[3] = {};
    if (getresuid(&users[0], &users[1], &users[2]) != 0 || getresgid(&groups[0], &groups[1], &groups[2]) != 0)
        return false;
    for (int i = 0; i < 3; ++i)
        if (users[i] != user || groups[i] != group)
            return false;
    return true;
}

} // namespace

Privileges dropPrivileges()
{
    const uid_t user = getuid();
    const gid_t group = getgid();
    const bool wereLent = !hasOnly(user, group);
    // The group first: without the user's privilege it could not be changed any more.
    if (setresgid(group, group, group) != 0 || setresuid(user, user, user) != 0)
        return Privileges::Remain;
    if (user != kRootUser && !dropCapabilities())
        return Privileges::Remain;
    const bool canReturn = user != kRootUser && setresuid(user, kRootUser, user) == 0;
    if (canReturn || !hasOnly(user, group))
        return Privileges::Remain;
    return wereLent ? Privileges::Lent : Privileges::None;
}
