#include "fuzz/FuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace fs = std::filesystem;

namespace fuzz {

void require(bool holds, const char* rule)
{
    if (holds)
        return;
    std::fprintf(stderr, "broken rule: %s\n", rule);
    std::abort();
}

fs::path enterScratchHome()
{
    const char* const parent = std::getenv("TMPDIR");
    std::string pattern = std::string(parent ? parent : "/tmp") + "/fuzz-XXXXXX";
    require(mkdtemp(pattern.data()) != nullptr, "the scratch folder can be made");
    const fs::path folder = fs::canonical(pattern);
    const auto point = [&folder](const char* variable, const char* name) {
        fs::create_directory(folder / name);
        require(setenv(variable, (folder / name).c_str(), 1) == 0, "the environment can be set");
    };
    point("HOME", "home");
    point("XDG_CACHE_HOME", "cache");
    point("XDG_RUNTIME_DIR", "run");
    point("VELMORA_ROOT", "root");
    return folder;
}

void writeFile(const fs::path& file, std::string_view bytes)
{
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    require(static_cast<bool>(out), "a scratch file can be written");
}

std::u16string units(std::string_view bytes)
{
    std::u16string text(bytes.size() / sizeof(char16_t), u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
    return text;
}

std::string_view takeLine(std::string_view& bytes)
{
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    const std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
    return line;
}

} // namespace fuzz
