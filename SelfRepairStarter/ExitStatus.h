// What the starter ends with when it did not start the tool.
#pragma once

/// None of the statuses that the tool or pkexec ends with: whoever started the starter can tell that nothing
/// ran.
inline constexpr int kNotStartedStatus = 112;
