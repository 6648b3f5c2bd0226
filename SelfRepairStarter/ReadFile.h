// Reading a file of a known size.
#pragma once

#include <string>

/// Fills `bytes`, whose size says how many the file is to have. False when it has fewer or more, or cannot be
/// read.
bool readExactly(int fd, std::string& bytes);
