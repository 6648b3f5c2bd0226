#include "TandemService/package/InstallResult.h"

#include <cerrno>
#include <cstring>

InstallResult systemFailure(const std::string& text, int posixError, InstallError otherwise)
{
    InstallError error = otherwise;
    if (posixError == ENOSPC || posixError == EDQUOT)
        error = InstallError::noSpace;
    return {error, text + ": " + std::strerror(posixError)};
}
