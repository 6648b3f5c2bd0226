#include "SelfRepairStarter/Starter.h"

#include "SelfRepairStarter/ExitStatus.h"
#include "SelfRepairStarter/Failure.h"
#include "SelfRepairStarter/FreshTool.h"
#include "SelfRepairStarter/Template.h"
#include "SelfRepairStarter/UserTool.h"
#include "WatchSelfUpdate/Hardening.h"

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <string_view>

namespace {

constexpr uid_t kRootUser = 0;
constexpr std::string_view kOnlyJob = "--self-repair";

// Takes a user id in decimal digits and nothing else.
bool parseUser(const char* text, uid_t& user)
{
    const std::string_view digits = text ? text : "";
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), user);
    return error == std::errc() && end == digits.data() + digits.size() && user != static_cast<uid_t>(-1);
}

bool becomeTool(int file)
{
    char name[] = "WatchSelfUpdate";
    char job[] = "--self-repair";
    char* const words[] = {name, job, nullptr};
    char* const environment[] = {nullptr};
    (void)signal(SIGXFSZ, SIG_DFL); // cannot fail
    (void)fexecve(file, words, environment);
    return notStarted("the tool cannot be executed");
}

bool start(std::string_view tool, uid_t caller, const char* templatePath)
{
    // A file that grows past the caller's limit is an error to clean up after, not an end.
    (void)signal(SIGXFSZ, SIG_IGN); // cannot fail
    std::string bytes;
    Place place;
    timespec modificationTime {};
    OwnedDescriptor file;
    return readTemplate(templatePath, bytes) && checkUserTool(tool, caller, bytes, place, modificationTime)
        && placeFreshTool(place, bytes, modificationTime, file) && becomeTool(file.get());
}

} // namespace

int runStarter(int argc, char** argv, const char* templatePath)
{
    uid_t caller = 0;
    const bool hasCaller = parseUser(std::getenv("PKEXEC_UID"), caller);
    if (!hardenProcess())
        (void)notStarted("the process could not be secured");
    else if (argc != 3 || argv[2] != kOnlyJob)
        (void)notStarted("usage: SelfRepairStarter TOOL --self-repair");
    else if (geteuid() != kRootUser || getuid() != kRootUser || !hasCaller)
        (void)notStarted("it is to be started through pkexec");
    else
        (void)start(argv[1], caller, templatePath);
    return kNotStartedStatus;
}
