// The peers that several rows share: libcurl's easy interface and programs of the system.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <string>
#include <vector>

namespace bench {

/// One easy handle, reused from fetch to fetch, with nothing set but what to do with the body.
class CurlPeer {
public:
    CurlPeer();

    /// Returns the body.
    const std::string& fetchToMemory(const std::string& url);
    void fetchToFile(const std::string& url, const std::string& path);

private:
    struct Cleanup {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };

    void perform(const std::string& url);

    std::unique_ptr<CURL, Cleanup> m_handle;
    std::string m_body;
};

/// Runs a program to its end, which must be a success. Returns what it wrote to its standard output.
std::string run(const std::vector<std::string>& arguments);

} // namespace bench
