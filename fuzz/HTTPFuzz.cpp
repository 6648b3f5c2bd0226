// Answers of a web server: any bytes give a download that ends in order. The input is what the server says to
// every request before it closes the connection; a proxy setting brings every request to it, whatever host an
// answer names.
#include "Platform/Support/Unicode.h"
#include "Update/download/HttpDownload.h"
#include "fuzz/FuzzSupport.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace {

constexpr SInt32 kTimeoutMs = 3000;
constexpr int kMaxRequests = 64;

/// Answers one connection after the other, each with the same bytes.
class Server {
public:
    Server()
    {
        m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        fuzz::require(bind(m_listener, generic, length) == 0 && listen(m_listener, 64) == 0
                && getsockname(m_listener, generic, &length) == 0,
            "the server can listen");
        const std::string proxy = "http://127.0.0.1:" + std::to_string(ntohs(address.sin_port));
        for (const char* const variable :
            {"http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
            fuzz::require(setenv(variable, proxy.c_str(), 1) == 0, "the environment can be set");
        for (const char* const variable : {"no_proxy", "NO_PROXY"})
            fuzz::require(unsetenv(variable) == 0, "the environment can be set");
        std::thread([this] { serve(); }).detach(); // until the process ends
    }

    void answerWith(std::string_view bytes)
    {
        const std::lock_guard lock(m_mutex);
        m_answer = bytes;
        m_requests = 0;
    }

    int requests()
    {
        const std::lock_guard lock(m_mutex);
        return m_requests;
    }

private:
    void serve()
    {
        while (true) {
            const int client = accept(m_listener, nullptr, nullptr);
            if (client == -1)
                continue;
            if (readHead(client))
                sendAnswer(client);
            close(client);
        }
    }

    static bool readHead(int client)
    {
        std::string head;
        char piece[4096];
        while (head.find("\r\n\r\n") == std::string::npos) {
            const ssize_t count = recv(client, piece, sizeof piece, 0);
            if (count <= 0)
                return false;
            head.append(piece, static_cast<std::size_t>(count));
        }
        return true;
    }

    void sendAnswer(int client)
    {
        std::string answer;
        {
            const std::lock_guard lock(m_mutex);
            answer = m_answer;
            ++m_requests;
        }
        // The client may have gone.
        (void)send(client, answer.data(), answer.size(), MSG_NOSIGNAL);
        (void)shutdown(client, SHUT_WR);
        char rest[4096];
        while (recv(client, rest, sizeof rest, 0) > 0) { }
    }

    int m_listener = -1;
    std::mutex m_mutex; ///< guards what follows
    std::string m_answer;
    int m_requests = 0;
};

struct Told {
    SInt64 bytes = 0;
    int ends = 0;
    int code = -2;
};

int told(int event, int value, void* userData)
{
    Told& log = *static_cast<Told*>(userData);
    if (event == kDownloadChunkEvent && value > 0) {
        log.bytes += value;
        return 1;
    }
    ++log.ends;
    log.code = event;
    return 1;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static Server server;
    server.answerWith(fuzz::asText(bytes, size));

    Told log;
    CHttpDownload download(kTimeoutMs, 0);
    download.SetDownloadCallBack(told, &log);
    const int result = download.Download(u"http://host.invalid/file", 1, nullptr);
    fuzz::require(log.ends == 1, "an end is told once");
    fuzz::require((result == 1) == (log.code == kDownloadComplete), "success is code 0");
    fuzz::require(log.code != kDownloadTimedOut, "a closed connection is no stall");
    SInt32 received = 0;
    const bool hasData = download.GetData(received) != nullptr && received >= 0;
    fuzz::require(log.bytes == (hasData ? received : 0), "every byte is told of once");
    fuzz::require(server.requests() <= kMaxRequests, "redirects have a bound");
    return 0;
}
