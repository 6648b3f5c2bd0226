// ZIP archives for tests.
#pragma once

#include <string>

/// The bytes of an archive that holds one file.
std::string zipOf(const std::string& name, const std::string& bytes);
