// The opening of files whose kind is not known beforehand.
#pragma once

#include "Platform/Support/Descriptor.h"

#include <string>
#include <sys/stat.h>

/// Opens a regular file, through a symbolic link as well, for reading and fills its status. None when it
/// cannot be opened, with the reason in errno, or when something else stands there: that is not opened at
/// all, as a pipe would keep the caller waiting and a device may do something once it is opened.
Descriptor openRegularFile(const std::string& path, struct stat& status);
