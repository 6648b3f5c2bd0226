// What a test server does with a connection when a path is asked for, step by step.
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// Steps in order. After the last one the connection is kept for the next request, unless a step ended it.
class ServerScript {
public:
    enum class Kind { send, repeat, stall, close, reset };
    struct Step {
        Kind kind;
        std::string bytes;
        std::size_t pieceBytes = 0;         ///< 0: everything at once
        std::chrono::milliseconds pause {}; ///< between pieces
        std::size_t times = 1;
    };

    ServerScript& send(std::string bytes);
    /// In pieces of `pieceBytes`, with a pause between two.
    ServerScript& sendSlowly(std::string bytes, std::size_t pieceBytes, std::chrono::milliseconds pause);
    /// The same bytes again and again, until `times` or until the client has gone.
    ServerScript& sendRepeatedly(std::string bytes, std::size_t times);
    /// Says nothing more and waits until the client has gone.
    ServerScript& stall();
    /// Ends the connection in order.
    ServerScript& close();
    /// Ends the connection with a reset.
    ServerScript& reset();

    const std::vector<Step>& steps() const { return m_steps; }

private:
    std::vector<Step> m_steps;
};

/// The usual answers.
namespace answer {

/// An answer's head with the given header lines ("Name: value", any number of them) and the empty line.
std::string head(int status, const std::vector<std::string>& headers);
ServerScript status(int status, std::string_view body = {});
ServerScript ok(std::string_view body);
ServerScript redirect(int status, std::string_view location);
/// Every piece as one chunk.
ServerScript chunked(const std::vector<std::string>& pieces);
/// A body whose end is the end of the connection.
ServerScript untilClose(std::string_view body);
/// A body of another length than the one that is announced, and then the end of the connection.
ServerScript announcing(std::size_t length, std::string_view body);

} // namespace answer
