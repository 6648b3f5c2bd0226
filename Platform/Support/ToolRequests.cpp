#include "Platform/Support/ToolRequests.h"

#include <string>
#include <string_view>

namespace {

constexpr char kUnzipTool[] = "/usr/bin/unzip";
constexpr char kInstallerTool[] = "/usr/sbin/installer";

// The path as a tool takes it: one that begins with "-" would be read as an option.
std::string pathArgument(const char* path)
{
    return *path == '-' ? std::string("./") + path : std::string(path);
}

// The archive's path as unzip takes it, which reads a name that holds one of these as a pattern for archives
// of the same folder. In brackets each stands for itself.
std::string archiveArgument(const char* path)
{
    constexpr std::string_view kPatternCharacters = "*?[";
    const std::string plain = pathArgument(path);
    if (plain.find_first_of(kPatternCharacters) == std::string::npos)
        return plain;
    const std::size_t name = plain.rfind('/') + 1; // what stands before is never a pattern
    std::string literal = plain.substr(0, name);
    for (const char character : plain.substr(name)) {
        if (kPatternCharacters.find(character) != std::string_view::npos)
            literal.append({'[', character, ']'});
        else if (character == '\\')
            literal.append("\\\\");
        else
            literal += character;
    }
    return literal;
}

} // namespace

ChildRequest unzipRequest(const char* zipPath, const char* destinationFolder)
{
    ChildRequest request;
    request.program = kUnzipTool;
    request.arguments = {"-o", archiveArgument(zipPath), "-d", pathArgument(destinationFolder)};
    // Options from the environment could switch off its protection against members that lead out of the
    // folder.
    request.droppedVariables = {"UNZIP", "UNZIPOPT", "ZIPINFO"};
    // On a terminal it would ask for the password of an encrypted archive.
    request.withoutTerminal = true;
    // Its listing of members would stand between what this program prints; what goes wrong is told on
    // standard error.
    request.withoutOutput = true;
    return request;
}

ChildRequest installerRequest(const char* packagePath, const char* target)
{
    ChildRequest request;
    request.program = kInstallerTool;
    request.arguments = {"-pkg", pathArgument(packagePath), "-target", pathArgument(target)};
    return request;
}

ChildRequest pkexecRequest(
    const std::string& pkexec, const std::string& program, const std::vector<std::string>& arguments)
{
    ChildRequest request;
    request.program = pkexec;
    // Its own agent would wait for a password on the terminal.
    request.arguments = {"--disable-internal-agent", program};
    request.arguments.insert(request.arguments.end(), arguments.begin(), arguments.end());
    // It starts nothing at all when a variable that it would hand on is not to its taste: a $SHELL that
    // /etc/shells does not list, a $DISPLAY that is a path. What runs as root is to depend on none of them.
    request.withoutEnvironment = true;
    return request;
}
