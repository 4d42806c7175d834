#include "Service.h"

#include <charconv>

#include "../Failure.h"
#include "../Text.h"
#include "Page.h"

namespace historian::command {
namespace {

// Threads that answer requests: more than may wait for the database, so that a request too many still gets an
// answer.
constexpr std::size_t kThreads = 32;
constexpr int kPatience = 10;  // seconds for a client to send its request

// Does not set SO_REUSEPORT, which would let a second program use the same port.
void SetSocketOptions(socket_t socket) {
  const int yes = 1;
  setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
}

int ReadPort(const std::string& text, std::string_view digits) {
  int port = -1;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), port);
  if (read.ec != std::errc() || read.ptr != digits.data() + digits.size() || port < 0 || port > 65535)
    throw Refusal("--listen " + Quote(text) + ": the port must be a number up to 65535");
  return port;
}

}  // namespace

bool Address::loopback() const { return host == "localhost" || host == "::1" || host.starts_with("127."); }

std::string Address::Url() const {
  const bool brackets = host.find(':') != host.npos;
  return "http://" + (brackets ? '[' + host + ']' : host) + ':' + std::to_string(port) + '/';
}

Address ReadAddress(const std::string& text) {
  Address address;
  std::string_view rest = text;
  const std::string_view host = HostName(rest);
  if (host.empty() && rest.starts_with('[')) throw Refusal("--listen takes ADDRESS:PORT, not " + Quote(text));
  rest.remove_prefix(host.size() + (rest.starts_with('[') ? 2 : 0));
  if (!rest.empty() && rest[0] != ':') throw Refusal("--listen takes ADDRESS:PORT, not " + Quote(text));
  if (rest.find(':', 1) != rest.npos)
    throw Refusal("--listen " + Quote(text) + ": an IPv6 address goes in brackets: [::1]:8470");
  if (!rest.empty()) address.port = ReadPort(text, rest.substr(1));
  if (!host.empty()) address.host = host;
  return address;
}

Service::Service(const Options& options)
    : address_(options.address),
      guard_({options.names, options.token, "historian"}),
      api_(options.server, options.limits, options.most_samples) {
  Bind();
  Route();
  thread_ = std::thread([this] {
    server_.listen_after_bind();
    ended_.set_value();
  });
  // The server cannot be stopped before it runs.
  while (!server_.is_running()) std::this_thread::yield();
}

void Service::Bind() {
  server_.set_socket_options(SetSocketOptions);
  if (address_.port == 0) {
    address_.port = server_.bind_to_any_port(address_.host);
  } else if (!server_.bind_to_port(address_.host, address_.port)) {
    address_.port = -1;
  }
  if (address_.port < 0)
    throw Refusal(
        "cannot listen there: the address is in use or not of this machine; --listen names another");
}

void Service::Route() {
  server_.new_task_queue = [] { return new httplib::ThreadPool(kThreads); };
  server_.set_default_headers(Guard::ResponseHeaders());
  // A browser keeps several connections open, each of which would occupy a thread.
  server_.set_keep_alive_max_count(1);
  server_.set_keep_alive_timeout(kPatience);
  server_.set_read_timeout(kPatience);
  server_.set_payload_max_length(0);
  server_.set_pre_routing_handler([this](const httplib::Request& request, httplib::Response& response) {
    return guard_.Admit(request, response) ? httplib::Server::HandlerResponse::Unhandled
                                           : httplib::Server::HandlerResponse::Handled;
  });
  api_.Register(server_);
  RegisterPage(server_);
}

bool Service::Stop() {
  server_.stop();
  return ended_.get_future().wait_for(std::chrono::seconds(1)) == std::future_status::ready;
}

Service::~Service() {
  server_.stop();
  if (thread_.joinable()) thread_.join();
}

}  // namespace historian::command
