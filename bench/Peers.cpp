#include "bench/Peers.h"

#include "bench/Table.h"

#include <array>
#include <cstdio>

#include <sys/wait.h>
#include <unistd.h>

namespace bench {
namespace {

std::size_t appendBody(char* bytes, std::size_t, std::size_t count, void* body)
{
    static_cast<std::string*>(body)->append(bytes, count);
    return count;
}

std::size_t writeBody(char* bytes, std::size_t, std::size_t count, void* file)
{
    return std::fwrite(bytes, 1, count, static_cast<std::FILE*>(file));
}

[[noreturn]] void becomeProgram(const std::vector<std::string>& arguments, int output)
{
    std::vector<char*> values;
    for (const std::string& argument : arguments)
        values.push_back(const_cast<char*>(argument.c_str()));
    values.push_back(nullptr);
    if (dup2(output, STDOUT_FILENO) != -1)
        execvp(values[0], values.data());
    _exit(127);
}

} // namespace

CurlPeer::CurlPeer()
    : m_handle(curl_easy_init())
{
    require(m_handle != nullptr, "curl_easy_init");
}

void CurlPeer::perform(const std::string& url)
{
    curl_easy_setopt(m_handle.get(), CURLOPT_URL, url.c_str());
    require(curl_easy_perform(m_handle.get()) == CURLE_OK, url.c_str());
    curl_off_t status = 0;
    curl_easy_getinfo(m_handle.get(), CURLINFO_RESPONSE_CODE, &status);
    require(status == 200, url.c_str());
}

const std::string& CurlPeer::fetchToMemory(const std::string& url)
{
    m_body.clear();
    m_body.shrink_to_fit();
    curl_easy_setopt(m_handle.get(), CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(m_handle.get(), CURLOPT_WRITEDATA, &m_body);
    perform(url);
    return m_body;
}

void CurlPeer::fetchToFile(const std::string& url, const std::string& path)
{
    std::FILE* const file = std::fopen(path.c_str(), "wb");
    require(file != nullptr, path.c_str());
    curl_easy_setopt(m_handle.get(), CURLOPT_WRITEFUNCTION, writeBody);
    curl_easy_setopt(m_handle.get(), CURLOPT_WRITEDATA, file);
    perform(url);
    require(std::fclose(file) == 0, path.c_str());
}

std::string run(const std::vector<std::string>& arguments)
{
    std::array<int, 2> ends {};
    require(pipe(ends.data()) == 0, "pipe");
    const pid_t child = fork();
    if (child == 0)
        becomeProgram(arguments, ends[1]);
    require(child != -1, "fork");
    close(ends[1]);
    std::string output;
    std::array<char, 4096> piece {};
    for (ssize_t count = 0; (count = read(ends[0], piece.data(), piece.size())) > 0;)
        output.append(piece.data(), static_cast<std::size_t>(count));
    close(ends[0]);
    int status = 0;
    require(waitpid(child, &status, 0) == child && status == 0, arguments[0].c_str());
    return output;
}

} // namespace bench
