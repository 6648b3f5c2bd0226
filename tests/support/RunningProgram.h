// Programs that run while a test looks at them.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

/// A child that waits for its standard input, which never comes; ended and collected when it goes. The
/// constructor returns when the child runs its program, and ends the test program when it cannot.
class RunningProgram {
public:
    using Texts = std::vector<std::string>;

    /// Starts the file `program` with the argument vector `arguments`, its first word included, by default
    /// the path alone. `environment` is all of its environment.
    explicit RunningProgram(
        const std::filesystem::path& program, Texts arguments = {}, Texts environment = {});
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram();

    int pid() const { return m_pid; }
    /// Ends the child and leaves it as a zombie.
    void endUncollected();
    /// Ends and collects the child.
    void end();

private:
    int m_pid = 0; ///< 0 once it was collected
    int m_input = -1;
};

/// Copies a program that waits for its standard input to `file`, with the folders that it needs. It takes any
/// arguments after the first one, which must be "-s".
void copyWaitingProgram(const std::filesystem::path& file);
/// Writes a script with the first line `firstLine` that waits for its standard input, as an executable file.
void writeWaitingScript(const std::filesystem::path& file, std::string_view firstLine);
/// Asks for `condition` again and again until it holds; false when it did not within twenty seconds.
bool eventually(const std::function<bool()>& condition);
