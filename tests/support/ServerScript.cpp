// What a test server does with a connection when a path is asked for.
#include "tests/support/ServerScript.h"

#include <cstdio>
#include <utility>

ServerScript& ServerScript::send(std::string bytes)
{
    m_steps.push_back({Kind::send, std::move(bytes)});
    return *this;
}

ServerScript& ServerScript::sendSlowly(
    std::string bytes, std::size_t pieceBytes, std::chrono::milliseconds pause)
{
    m_steps.push_back({Kind::send, std::move(bytes), pieceBytes, pause});
    return *this;
}

ServerScript& ServerScript::sendRepeatedly(std::string bytes, std::size_t times)
{
    m_steps.push_back({Kind::repeat, std::move(bytes), 0, {}, times});
    return *this;
}

ServerScript& ServerScript::stall()
{
    m_steps.push_back({Kind::stall, {}});
    return *this;
}

ServerScript& ServerScript::close()
{
    m_steps.push_back({Kind::close, {}});
    return *this;
}

ServerScript& ServerScript::reset()
{
    m_steps.push_back({Kind::reset, {}});
    return *this;
}

namespace answer {

std::string head(int status, const std::vector<std::string>& headers)
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + " Scripted\r\n";
    for (const std::string& header : headers)
        text += header + "\r\n";
    return text + "\r\n";
}

ServerScript status(int status, std::string_view body)
{
    return ServerScript().send(
        head(status, {"Content-Length: " + std::to_string(body.size())}) + std::string(body));
}

ServerScript ok(std::string_view body)
{
    return status(200, body);
}

ServerScript redirect(int status, std::string_view location)
{
    return ServerScript().send(
        head(status, {"Location: " + std::string(location), "Content-Length: 5"}) + "moved");
}

ServerScript chunked(const std::vector<std::string>& pieces)
{
    ServerScript script;
    script.send(head(200, {"Transfer-Encoding: chunked"}));
    for (const std::string& piece : pieces) {
        char size[32];
        std::snprintf(size, sizeof size, "%zx\r\n", piece.size());
        script.send(size + piece + "\r\n");
    }
    return script.send("0\r\n\r\n");
}

ServerScript untilClose(std::string_view body)
{
    return ServerScript().send(head(200, {"Connection: close"}) + std::string(body)).close();
}

ServerScript announcing(std::size_t length, std::string_view body)
{
    return ServerScript()
        .send(head(200, {"Content-Length: " + std::to_string(length)}) + std::string(body))
        .close();
}

} // namespace answer
