// Code that must run in a process of its own: as an ordinary user, with other limits, or with another
// standard output.
#pragma once

#include <functional>

namespace child {

/// Runs `body` in a forked child and returns what it returned (0 to 255), or minus the number of the signal
/// that ended the child. The child leaves without running any exit handler and without flushing anything.
int run(const std::function<int()>& body);

/// The same with user and group id 65534 and no other group. Needs a user id of 0: see canChangeUser().
int runAsNobody(const std::function<int()>& body);
inline constexpr unsigned kNobody = 65534;
bool canChangeUser();

} // namespace child
