// Assertions for programming errors. Nothing that comes from disk, server or user is ever asserted.
#pragma once

/// Prints "FILE:LINE: failed assertion `CONDITION'" to standard error and aborts the process.
[[noreturn]] void failAssertion(const char* file, unsigned line, const char* condition);

/// Aborts when `condition` is false; in force in every build.
#define VELMORA_ASSERT(condition)                                                                            \
    ((condition) ? static_cast<void>(0) : failAssertion(__FILE__, __LINE__, #condition))

/// The same, with the condition's text given, where the text that is printed is fixed.
#define VELMORA_ASSERT_TEXT(condition, text)                                                                 \
    ((condition) ? static_cast<void>(0) : failAssertion(__FILE__, __LINE__, text))
