#include "support/hec_test_server.h"

#include <httplib.h>
#include <openssl/x509v3.h>

#include <csignal>
#include <limits>
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

const std::string kProxyPage =
    "<!DOCTYPE html>\n<html lang=\"en\">\n<head><meta charset=\"utf-8\">"
    "<title>Web Gateway - Authentication Required</title></head>\n<body>\n"
    "<h1>Authentication Required</h1>\n<p>Your request to this site was intercepted by the "
    "corporate web gateway. Sign in with your network account to continue. If the problem "
    "persists, contact the service desk and quote reference GW-407.</p>\n</body>\n</html>\n";

}  // namespace

HecTestServer::HecTestServer(std::string token) : token_(std::move(token)) {
    // A client that hangs up mid-answer must not kill the test process.
    std::signal(SIGPIPE, SIG_IGN);
    const Credentials credentials;
    server_ = std::make_unique<httplib::SSLServer>(credentials.certificate, credentials.key);
    // A connection serves as many requests as the client sends on it, until idle for 5 s.
    server_->set_keep_alive_max_count(std::numeric_limits<size_t>::max());
    // An answer's head and body are two writes: the body must not wait for an acknowledgement.
    server_->set_tcp_nodelay(true);
    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
        serve(request, response);
    };
    server_->Get(".*", handler).Post(".*", handler);
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (!server_->is_valid() || port_ <= 0) fail("cannot listen on 127.0.0.1");
    listenThread_ = std::thread([this] { server_->listen_after_bind(); });
    // Stopping before the loop runs would leave it running.
    while (!server_->is_running())
        std::this_thread::yield();
}

HecTestServer::~HecTestServer() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    behaviourChanged_.notify_all();
    server_->stop();
    listenThread_.join();
}

std::string HecTestServer::url(std::string_view path) const {
    return "https://127.0.0.1:" + std::to_string(port_) + std::string(path);
}

void HecTestServer::serve(const httplib::Request& wire, httplib::Response& response) {
    Exchange exchange{{wire.method, wire.target, {}, wire.body}, {}, {}};
    for (const auto& [name, value] : wire.headers) {
        // The server adds both ends' addresses as headers of its own.
        if (!name.ends_with("_ADDR") && !name.ends_with("_PORT")) {
            exchange.request.headers.emplace_back(name, value);
        }
    }
    Behaviour behaviour;
    std::chrono::milliseconds pause;
    {
        std::unique_lock lock(mutex_);
        clientPorts_.insert(wire.remote_port);
        // A stalled request is recorded when it is answered, or unanswered when the server
        // stops.
        behaviourChanged_.wait(lock,
                               [this] { return stopping_ || behaviour_ != Behaviour::stall; });
        if (stopping_) {
            exchanges_.push_back(std::move(exchange));
            // Cuts the answer off after its head: the client gets no usable answer.
            response.set_content_provider(1, "text/plain",
                                          [](size_t, size_t, httplib::DataSink&) { return false; });
            return;
        }
        behaviour = behaviour_;
        exchange.answer = fixedAnswer_;
        pause = pauseBetweenBytes_;
    }
    if (behaviour != Behaviour::fixed) {
        HecVerdict verdict =
            testing::answerAsCollector(exchange.request, token_, behaviour == Behaviour::busy);
        exchange.answer = std::move(verdict.answer);
        exchange.events = std::move(verdict.events);
    }
    const HecAnswer answer = exchange.answer;
    {
        std::lock_guard lock(mutex_);
        exchanges_.push_back(std::move(exchange));
    }
    response.status = answer.status;
    response.set_header("X-Content-Type-Options", "nosniff");
    response.set_header("Vary", "Authorization");
    if (pause == pause.zero()) {
        response.set_content(answer.body, answer.contentType);
        return;
    }
    response.set_content_provider(
        answer.body.size(), answer.contentType,
        [body = answer.body, pause](size_t offset, size_t, httplib::DataSink& sink) {
            std::this_thread::sleep_for(pause);
            return sink.write(body.data() + offset, 1);
        });
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
    return static_cast<int>(clientPorts_.size());
}

void HecTestServer::clearExchanges() {
    std::lock_guard lock(mutex_);
    exchanges_.clear();
}

}  // namespace ostrel::testing
