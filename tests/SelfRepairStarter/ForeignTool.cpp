// A program that must never be run by the starter: it tells that it was, beside its own file.
#include <fcntl.h>
#include <string>
#include <unistd.h>

int main()
{
    char path[4096] = {};
    const ssize_t length = readlink("/proc/self/exe", path, sizeof(path) - 1);
    const std::string folder(path, std::string(path, length > 0 ? size_t(length) : 0).rfind('/'));
    const std::string evidence = folder + "/ran-as-" + std::to_string(geteuid());
    return open(evidence.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600) >= 0 ? 0 : 1;
}
