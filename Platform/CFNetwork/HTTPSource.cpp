// One HTTP transfer as a stream's body.
#include "Platform/CFNetwork/HTTPSource.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace {

/// What libcurl reads from the socket at once: with a smaller buffer large bodies come slower than with curl
/// itself.
constexpr curl_off_t kSocketBufferBytes = 256 * 1024;
/// A reader that is this far behind stops the transfer ...
constexpr std::size_t kPauseAtBytes = 512 * 1024;
/// ... until it has caught up this far.
constexpr std::size_t kResumeBelowBytes = 256 * 1024;
/// All header fields that answer one request, interim answers (RFC 9110, 15.2) included.
constexpr std::size_t kMaxHeaderBytes = 64 * 1024;
constexpr SInt32 kMaxRedirects = 20;
constexpr int kDriveMilliseconds = 1;

/// The first digit of a status line's code, 0 when `line` is not a status line.
int statusClass(std::string_view line)
{
    const std::size_t blank = line.find(' ');
    if (line.substr(0, 5) != "HTTP/" || blank == std::string_view::npos || blank + 1 >= line.size())
        return 0;
    const char digit = line[blank + 1];
    return digit >= '0' && digit <= '9' ? digit - '0' : 0;
}

/// What a header line says in its field `name` (in lower case), without the blanks around it; nothing when it
/// is another field.
std::optional<std::string_view> fieldValue(std::string_view line, std::string_view name)
{
    const auto isSame = [](char a, char b) { return b == (a >= 'A' && a <= 'Z' ? a + ('a' - 'A') : a); };
    if (line.size() <= name.size() || line[name.size()] != ':'
        || !std::equal(name.begin(), name.end(), line.begin(), [&](char b, char a) { return isSame(a, b); }))
        return std::nullopt;
    constexpr std::string_view kBlanks = " \t\r\n";
    line.remove_prefix(name.size() + 1);
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    return line.substr(0, line.find_last_not_of(kBlanks) + 1);
}

} // namespace

HTTPSource::HTTPSource(std::string url, bool followsRedirects)
    : m_url(std::move(url))
    , m_followsRedirects(followsRedirects)
{
}

HTTPSource::~HTTPSource()
{
    if (m_easy)
        CurlMulti::instance().remove(m_easy.get());
}

bool HTTPSource::open(std::function<void()> onChange)
{
    m_onChange = std::move(onChange);
    m_easy.reset(curl_easy_init());
    if (m_easy && configure() && CurlMulti::instance().add(m_easy.get(), *this))
        return true;
    m_easy.reset();
    m_state = BodyState::failed;
    return false;
}

bool HTTPSource::configure()
{
    CURL* const easy = m_easy.get();
    const auto set
        = [easy](CURLoption option, auto value) { return curl_easy_setopt(easy, option, value) == CURLE_OK; };
    return set(CURLOPT_URL, m_url.c_str()) && set(CURLOPT_PROTOCOLS_STR, "http,https")
        && set(CURLOPT_REDIR_PROTOCOLS_STR, "http,https") && set(CURLOPT_HTTP_VERSION, CURL_HTTP_VERSION_1_1)
        && set(CURLOPT_FOLLOWLOCATION, m_followsRedirects ? 1L : 0L)
        && set(CURLOPT_MAXREDIRS, kMaxRedirects + 0L) && set(CURLOPT_BUFFERSIZE, kSocketBufferBytes + 0L)
        && set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L)
        // Ending a transfer must not wait for a name server: the look-up's thread ends by itself.
        && set(CURLOPT_QUICK_EXIT, 1L) && set(CURLOPT_HEADERFUNCTION, &HTTPSource::headerCallback)
        && set(CURLOPT_HEADERDATA, this) && set(CURLOPT_WRITEFUNCTION, &HTTPSource::bodyCallback)
        && set(CURLOPT_WRITEDATA, this);
}

void HTTPSource::drive()
{
    if (m_easy)
        CurlMulti::instance().drive(kDriveMilliseconds);
}

SInt32 HTTPSource::read(UInt8* buffer, SInt32 length)
{
    const std::size_t count = m_buffer.take(buffer, static_cast<std::size_t>(length));
    if (m_easy && m_paused && m_buffer.size() < kResumeBelowBytes) {
        m_paused = false;
        const CURLcode result = curl_easy_pause(m_easy.get(), CURLPAUSE_CONT);
        if (result != CURLE_OK) {
            CurlMulti::instance().remove(m_easy.get());
            transferDone(result);
        }
    }
    return static_cast<SInt32>(count);
}

SInt32 HTTPSource::responseStatus() const
{
    if (!m_easy)
        return m_finalStatus;
    SInt64 status = 0; // libcurl's long
    if (curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &status) != CURLE_OK)
        return 0;
    return static_cast<SInt32>(status);
}

void HTTPSource::transferDone(CURLcode result)
{
    m_finalStatus = responseStatus();
    // A connection that ends within the header fields is no answer, though libcurl takes it for one without a
    // body.
    m_state = result == CURLE_OK && m_headersComplete ? BodyState::ended : BodyState::failed;
    m_easy.reset();
    m_onChange();
}

/// A length that is none, does not fit or contradicts an earlier one leaves open where the body ends
/// (RFC 9112, 6.3). libcurl would read on to the end of the connection, and a short body would pass for
/// whole.
bool HTTPSource::acceptLength(std::string_view text)
{
    SInt64 length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && text[0] != '-';
    const bool isKnown = m_length.has_value();
    if (!isNumber || (isKnown && *m_length != length))
        return false;
    m_length = length;
    return true;
}

bool HTTPSource::acceptHeader(std::string_view line)
{
    const int kind = statusClass(line);
    if (kind != 0 && m_sawFinalAnswer) { // a redirect was followed: another answer begins
        m_headerBytes = 0;
        m_sawFinalAnswer = false;
    }
    if (kind >= 2)
        m_sawFinalAnswer = true;
    if (kind != 0) {
        m_headersComplete = false;
        m_length.reset();
    } else if (line == "\r\n" || line == "\n") {
        m_headersComplete = true;
    }
    const auto length = m_headersComplete ? std::nullopt : fieldValue(line, "content-length");
    if (length && !acceptLength(*length))
        return false;
    m_headerBytes += line.size();
    return m_headerBytes <= kMaxHeaderBytes;
}

std::size_t HTTPSource::headerCallback(char* bytes, std::size_t size, std::size_t count, void* self)
{
    HTTPSource& source = *static_cast<HTTPSource*>(self);
    return source.acceptHeader(std::string_view(bytes, size * count)) ? size * count : 0;
}

std::size_t HTTPSource::bodyCallback(char* bytes, std::size_t size, std::size_t count, void* self)
{
    HTTPSource& source = *static_cast<HTTPSource*>(self);
    if (source.m_buffer.size() >= kPauseAtBytes) {
        source.m_paused = true;
        return CURL_WRITEFUNC_PAUSE;
    }
    source.m_buffer.append(bytes, size * count);
    source.m_onChange();
    return size * count;
}
