// The three descriptors that every program takes for granted.
#pragma once

/// Opens /dev/null in place of a standard input, output or error that the caller closed. Otherwise the next
/// file or connection that the program opens would take the number, and with it what is printed. To be called
/// first.
void openMissingStandardDescriptors();
