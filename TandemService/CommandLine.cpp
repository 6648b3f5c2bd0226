#include "TandemService/CommandLine.h"

const char* const kUsageText
    = "usage: TandemService                 stays, checks once a day, shows what there is\n"
      "       TandemService --check         checks once and prints what there is\n"
      "       TandemService --update [--unattended]\n"
      "                                     checks once and opens what there is at once\n"
      "options:\n"
      "  --unattended       takes what the window offers checked, prints alerts instead of waiting on them\n"
      "  --plugin PATH      the bundle to load instead of the carried one\n"
      "  --pictures FOLDER  saves a picture of each window that appears\n"
      "  --help             prints this\n"
      "exit status: 0 updated, or something to offer; 1 nothing to offer; 2 could not run; 3 declined or\n"
      "             cancelled; 4 failed\n";

namespace {

/// Takes the value that must follow option `index`; false when there is none or the option came before.
bool takeValue(const std::vector<std::string>& arguments, std::size_t& index, std::string& value)
{
    if (index + 1 >= arguments.size() || arguments[index + 1].empty() || !value.empty())
        return false;
    value = arguments[++index];
    return true;
}

bool takeMode(HostMode mode, HostOptions& options)
{
    if (options.mode != HostMode::resident)
        return false;
    options.mode = mode;
    return true;
}

} // namespace

std::optional<HostOptions> parseCommandLine(const std::vector<std::string>& arguments, std::string& error)
{
    HostOptions options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        bool good = true;
        if (argument == "--check")
            good = takeMode(HostMode::check, options);
        else if (argument == "--update")
            good = takeMode(HostMode::update, options);
        else if (argument == "--help")
            good = takeMode(HostMode::help, options);
        else if (argument == "--unattended")
            options.unattended = true;
        else if (argument == "--plugin")
            good = takeValue(arguments, i, options.plugin);
        else if (argument == "--pictures")
            good = takeValue(arguments, i, options.pictures);
        else
            good = false;
        if (!good) {
            error = "cannot use the argument \"" + argument + "\"";
            return std::nullopt;
        }
    }
    if (options.unattended && options.mode != HostMode::update) {
        error = "--unattended goes with --update only";
        return std::nullopt;
    }
    return options;
}
