// The host's own answer on standard output, kept apart from what the layers below it print while they work.
#pragma once

#include "Platform/Support/Descriptor.h"

#include <string_view>

/// As long as it lives, what anybody prints to standard output goes to standard error, and only the answer to
/// standard output: a script that reads the answer reads nothing else.
class AnswerOutput {
public:
    AnswerOutput();
    AnswerOutput(const AnswerOutput&) = delete;
    AnswerOutput& operator=(const AnswerOutput&) = delete;
    ~AnswerOutput();

    /// Writes `line` and a line end. Where standard output is closed there is nobody to tell.
    void print(std::string_view line) const;

private:
    Descriptor m_standardOutput; ///< the real one; none when it could not be kept
};
