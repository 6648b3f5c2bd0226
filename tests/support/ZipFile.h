// ZIP archives for tests.
#pragma once

#include <string>
#include <vector>

/// A file in an archive, or a symbolic link when `linkTarget` is not empty.
struct ZipMember {
    std::string name;
    std::string bytes {};
    std::string linkTarget {};
};

/// The bytes of an archive that holds these members in this order; no name is changed.
std::string zipOf(const std::vector<ZipMember>& members);
/// The bytes of an archive that holds one file.
std::string zipOf(const std::string& name, const std::string& bytes);
/// The same, where the file's bytes can only be had with a password.
std::string encryptedZipOf(const std::string& name, const std::string& bytes);
