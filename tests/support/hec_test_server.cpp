#include "support/hec_test_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <stdexcept>

namespace ostrel::testing {

namespace {

[[noreturn]] void fail(const char* what) {
    throw std::runtime_error(std::string("HEC test server: ") + what);
}

// A P-256 key and a certificate for 127.0.0.1 signed by that key: trusted by nobody, so a
// client that checks certificates refuses it, as it would a collector's default certificate.
struct Credentials {
    EVP_PKEY* key = nullptr;
    X509* certificate = nullptr;

    Credentials() {
        key = EVP_EC_gen("P-256");
        certificate = X509_new();
        if (!key || !certificate) fail("no key or certificate");
        X509_set_version(certificate, 2);
        ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
        X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
        X509_gmtime_adj(X509_getm_notAfter(certificate), 86400);
        X509_set_pubkey(certificate, key);
        X509_NAME* name = X509_get_subject_name(certificate);
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                                   reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
        X509_set_issuer_name(certificate, name);
        X509V3_CTX context;
        X509V3_set_ctx_nodb(&context);
        X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
        X509_EXTENSION* names = X509V3_EXT_conf_nid(nullptr, &context, NID_subject_alt_name,
                                                    "IP:127.0.0.1,DNS:localhost");
        if (!names || !X509_add_ext(certificate, names, -1)) fail("no subject names");
        X509_EXTENSION_free(names);
        if (!X509_sign(certificate, key, EVP_sha256())) fail("cannot sign");
    }
    ~Credentials() {
        X509_free(certificate);
        EVP_PKEY_free(key);
    }
};

const char* reason(int status) {
    static constexpr std::pair<int, const char*> kReasons[] = {{200, "OK"},
                                                               {400, "Bad Request"},
                                                               {401, "Unauthorized"},
                                                               {403, "Forbidden"},
                                                               {404, "Not Found"},
                                                               {500, "Internal Server Error"},
                                                               {503, "Service Unavailable"}};
    for (const auto& [code, text] : kReasons) {
        if (code == status) return text;
    }
    return "Status";
}

// Reads one request after another off a TLS stream; anything left over from the last read
// belongs to the next request.
class RequestReader {
  public:
    explicit RequestReader(SSL* ssl) : ssl_(ssl) {}

    std::optional<HecRequest> next() {
        size_t headEnd;
        while ((headEnd = buffer_.find("\r\n\r\n")) == std::string::npos) {
            if (!fill()) return std::nullopt;
        }
        HecRequest request;
        if (!parseHead(std::string_view(buffer_).substr(0, headEnd), request)) return std::nullopt;
        buffer_.erase(0, headEnd + 4);
        // The client sends a Content-Length, neither chunks nor an Expect to wait for.
        const auto length = request.header("Content-Length");
        const size_t bodyLength = length ? std::strtoull(length->c_str(), nullptr, 10) : 0;
        while (buffer_.size() < bodyLength) {
            if (!fill()) return std::nullopt;
        }
        request.body = buffer_.substr(0, bodyLength);
        buffer_.erase(0, bodyLength);
        return request;
    }

    bool write(std::string_view bytes) {
        return SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size())) ==
               static_cast<int>(bytes.size());
    }

  private:
    bool fill() {
        char chunk[16384];
        const int count = SSL_read(ssl_, chunk, sizeof chunk);
        if (count <= 0) return false;
        buffer_.append(chunk, static_cast<size_t>(count));
        return true;
    }

    static bool parseHead(std::string_view head, HecRequest& request) {
        size_t lineEnd = head.find("\r\n");
        const std::string_view line = head.substr(0, lineEnd);
        const size_t first = line.find(' '), second = line.rfind(' ');
        if (first == std::string_view::npos || second == first) return false;
        request.method = line.substr(0, first);
        request.target = line.substr(first + 1, second - first - 1);
        while (lineEnd != std::string_view::npos) {
            const size_t start = lineEnd + 2;
            lineEnd = head.find("\r\n", start);
            const std::string_view field = head.substr(start, lineEnd - start);
            const size_t colon = field.find(':');
            if (colon == std::string_view::npos) return false;
            std::string_view value = field.substr(colon + 1);
            while (!value.empty() && value.front() == ' ')
                value.remove_prefix(1);
            while (!value.empty() && value.back() == ' ')
                value.remove_suffix(1);
            request.headers.emplace_back(field.substr(0, colon), value);
        }
        return true;
    }

    SSL* ssl_;
    std::string buffer_;
};

// The whole answer at once, or a byte at a time with `pause` before each.
bool writeAnswer(RequestReader& reader, std::string_view bytes, std::chrono::milliseconds pause) {
    if (pause == pause.zero()) return reader.write(bytes);
    for (size_t i = 0; i < bytes.size(); ++i) {
        std::this_thread::sleep_for(pause);
        if (!reader.write(bytes.substr(i, 1))) return false;
    }
    return true;
}

bool keepsAlive(const HecRequest& request) {
    const auto connection = request.header("Connection");
    return !connection || strcasecmp(connection->c_str(), "close") != 0;
}

const std::string kProxyPage =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">"
    "<title>Web Gateway - Authentication Required</title></head>\n<body>\n"
    "<h1>Authentication Required</h1>\n<p>Your request to this site was intercepted by the "
    "corporate web gateway. Sign in with your network account to continue. If the problem "
    "persists, contact the service desk and quote reference GW-407.</p>\n</body>\n</html>\n";

}  // namespace

struct TlsContext {
    Credentials credentials;
    SSL_CTX* context = nullptr;

    TlsContext() {
        context = SSL_CTX_new(TLS_server_method());
        if (!context || SSL_CTX_use_certificate(context, credentials.certificate) != 1 ||
            SSL_CTX_use_PrivateKey(context, credentials.key) != 1) {
            fail("cannot set up TLS");
        }
    }
    ~TlsContext() { SSL_CTX_free(context); }
};

HecTestServer::HecTestServer(std::string token)
    : token_(std::move(token)), tls_(std::make_unique<TlsContext>()) {
    // A client that hangs up mid-answer must not kill the test process.
    std::signal(SIGPIPE, SIG_IGN);
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (listener_ < 0 || bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        listen(listener_, 16) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0 ||
        pipe2(wakePipe_, O_CLOEXEC) != 0) {
        fail("cannot listen on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
    acceptThread_ = std::thread([this] { acceptLoop(); });
}

HecTestServer::~HecTestServer() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
        // Wakes connections blocked in a read; their threads then end.
        for (const int socket : openSockets_)
            shutdown(socket, SHUT_RDWR);
    }
    behaviourChanged_.notify_all();
    const char wake = 0;
    (void)!::write(wakePipe_[1], &wake, 1);
    acceptThread_.join();
    for (auto& thread : connectionThreads_)
        thread.join();
    close(listener_);
    close(wakePipe_[0]);
    close(wakePipe_[1]);
}

std::string HecTestServer::url(std::string_view path) const {
    return "https://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

void HecTestServer::acceptLoop() {
    for (;;) {
        pollfd waits[2] = {{listener_, POLLIN, 0}, {wakePipe_[0], POLLIN, 0}};
        if (poll(waits, 2, -1) < 0) continue;
        if (waits[1].revents) return;
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0) continue;
        std::lock_guard lock(mutex_);
        if (stopping_) {
            close(socket);
            return;
        }
        openSockets_.push_back(socket);
        ++accepted_;
        connectionThreads_.emplace_back([this, socket] { serve(socket); });
    }
}

void HecTestServer::serve(int socket) {
    SSL* ssl = SSL_new(tls_->context);
    SSL_set_fd(ssl, socket);
    if (SSL_accept(ssl) == 1) {
        RequestReader reader(ssl);
        while (auto request = reader.next()) {
            const auto answer = respond(*request);
            if (!answer) break;
            const std::string head = "HTTP/1.1 " + std::to_string(answer->status) + " " +
                                     reason(answer->status) +
                                     "\r\nContent-Type: " + answer->contentType +
                                     "\r\nContent-Length: " + std::to_string(answer->body.size()) +
                                     "\r\nX-Content-Type-Options: nosniff\r\nVary: Authorization"
                                     "\r\nConnection: Keep-Alive\r\n\r\n";
            std::chrono::milliseconds pause;
            {
                std::lock_guard lock(mutex_);
                pause = pauseBetweenBytes_;
            }
            if (!writeAnswer(reader, head + answer->body, pause) || !keepsAlive(*request)) break;
        }
        SSL_shutdown(ssl);
    }
    SSL_free(ssl);
    ERR_clear_error();
    std::lock_guard lock(mutex_);
    openSockets_.erase(std::find(openSockets_.begin(), openSockets_.end(), socket));
    close(socket);
}

std::optional<HecAnswer> HecTestServer::respond(const HecRequest& request) {
    Exchange exchange{request, {}, {}};
    Behaviour behaviour;
    {
        std::unique_lock lock(mutex_);
        // A stalled request is recorded when it is answered, or unanswered when the server
        // stops.
        behaviourChanged_.wait(lock,
                               [this] { return stopping_ || behaviour_ != Behaviour::stall; });
        if (stopping_) {
            exchanges_.push_back(std::move(exchange));
            return std::nullopt;
        }
        behaviour = behaviour_;
        exchange.answer = fixedAnswer_;
    }
    if (behaviour != Behaviour::fixed) {
        HecVerdict verdict =
            testing::answerAsCollector(request, token_, behaviour == Behaviour::busy);
        exchange.answer = std::move(verdict.answer);
        exchange.events = std::move(verdict.events);
    }
    HecAnswer answer = exchange.answer;
    std::lock_guard lock(mutex_);
    exchanges_.push_back(std::move(exchange));
    return answer;
}

void HecTestServer::setBehaviour(Behaviour behaviour, HecAnswer fixed) {
    {
        std::lock_guard lock(mutex_);
        behaviour_ = behaviour;
        fixedAnswer_ = std::move(fixed);
        pauseBetweenBytes_ = std::chrono::milliseconds(0);
    }
    behaviourChanged_.notify_all();
}

void HecTestServer::answerAsCollector() {
    setBehaviour(Behaviour::collector);
}
void HecTestServer::answerAsBusyCollector() {
    setBehaviour(Behaviour::busy);
}
void HecTestServer::stall() {
    setBehaviour(Behaviour::stall);
}
void HecTestServer::answerSlowly(std::chrono::milliseconds pause) {
    setBehaviour(Behaviour::collector);
    std::lock_guard lock(mutex_);
    pauseBetweenBytes_ = pause;
}

void HecTestServer::answerWith(int status, std::string body) {
    setBehaviour(Behaviour::fixed, {status, "application/json; charset=UTF-8", std::move(body)});
}

void HecTestServer::answerWithProxyPage() {
    setBehaviour(Behaviour::fixed, {200, "text/html; charset=utf-8", kProxyPage});
}

std::vector<HecTestServer::Exchange> HecTestServer::exchanges() const {
    std::lock_guard lock(mutex_);
    return exchanges_;
}

std::vector<HecReceivedEvent> HecTestServer::events() const {
    std::lock_guard lock(mutex_);
    std::vector<HecReceivedEvent> all;
    for (const auto& exchange : exchanges_) {
        all.insert(all.end(), exchange.events.begin(), exchange.events.end());
    }
    return all;
}

int HecTestServer::connectionsAccepted() const {
    std::lock_guard lock(mutex_);
    return accepted_;
}

void HecTestServer::clearExchanges() {
    std::lock_guard lock(mutex_);
    exchanges_.clear();
}

}  // namespace ostrel::testing
