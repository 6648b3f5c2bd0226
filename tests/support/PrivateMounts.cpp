#include "tests/support/PrivateMounts.h"

#include "Platform/Support/Descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <linux/loop.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace mounts {

namespace {

constexpr const char* kLoopControl = "/dev/loop-control";
constexpr int kLoopAttempts = 20; ///< others may take the free device first

std::string makerOf(const std::string& type)
{
    return "/usr/sbin/mkfs." + type;
}

bool isKnownToKernel(const std::string& type)
{
    std::ifstream list("/proc/filesystems");
    for (std::string line; std::getline(list, line);) {
        if (line.substr(line.find('\t') + 1) == type)
            return true;
    }
    return false;
}

/// Puts a loop device before the open image and gives its path; empty when there is none. The device is given
/// back when its last user goes.
std::string attachLoop(int image, Descriptor& device)
{
    const Descriptor control(::open(kLoopControl, O_RDWR | O_CLOEXEC));
    for (int i = 0; control && i < kLoopAttempts; ++i) {
        const std::string path = "/dev/loop" + std::to_string(::ioctl(control.get(), LOOP_CTL_GET_FREE));
        device = Descriptor(::open(path.c_str(), O_RDWR | O_CLOEXEC));
        loop_config config {};
        config.fd = static_cast<__u32>(image);
        config.info.lo_flags = LO_FLAGS_AUTOCLEAR;
        if (device && ::ioctl(device.get(), LOOP_CONFIGURE, &config) == 0)
            return path;
        if (device && errno != EBUSY)
            return {};
    }
    return {};
}

} // namespace

bool separate()
{
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool mountNew(const fs::path& folder, const char* type, const char* options)
{
    return ::mount("none", folder.c_str(), type, 0, options) == 0;
}

bool bind(const fs::path& what, const fs::path& where)
{
    return ::mount(what.c_str(), where.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

std::string whyNoImage(const std::string& type)
{
    if (::geteuid() != 0)
        return "mounting needs user id 0";
    if (!fs::exists(makerOf(type)))
        return "needs " + makerOf(type);
    if (!isKnownToKernel(type))
        return "the kernel does not know " + type;
    return fs::exists(kLoopControl) ? "" : "needs loop devices";
}

bool mountImage(const fs::path& image, int megabytes, const std::string& type, const std::string& makeOptions,
    const fs::path& folder)
{
    const Descriptor file(::open(image.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file || ::ftruncate(file.get(), off_t(megabytes) << 20) != 0)
        return false;
    const std::string make
        = makerOf(type) + " -q " + makeOptions + " '" + image.string() + "' >/dev/null 2>&1";
    if (std::system(make.c_str()) != 0)
        return false;
    Descriptor device;
    const std::string path = attachLoop(file.get(), device);
    return !path.empty() && ::mount(path.c_str(), folder.c_str(), type.c_str(), 0, nullptr) == 0;
}

} // namespace mounts
