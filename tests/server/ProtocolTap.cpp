#include "server/ProtocolTap.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace {

constexpr char kPassword = 'p';  // the letter of all messages of signing in
constexpr std::size_t kLengthBytes = 4;
constexpr int kUnixSocketPort = 5432;  // a part of the name only

// Of the Unix socket that the server's clients expect in a folder.
sockaddr_un AddressIn(const std::string& folder, int port) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = folder + "/.s.PGSQL." + std::to_string(port);
  if (path.size() >= sizeof address.sun_path) throw std::runtime_error(path + ": too long for a socket");
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

int ConnectToFolder(const std::string& folder, int port) {
  const sockaddr_un address = AddressIn(folder, port);
  const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (::connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) return socket;
  ::close(socket);
  return -1;
}

int ConnectToHost(const std::string& host, int port) {
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return -1;
  int connected = -1;
  for (const addrinfo* one = found; one && connected < 0; one = one->ai_next) {
    const int socket = ::socket(one->ai_family, one->ai_socktype, one->ai_protocol);
    if (::connect(socket, one->ai_addr, one->ai_addrlen) == 0) {
      connected = socket;
    } else {
      ::close(socket);
    }
  }
  ::freeaddrinfo(found);
  return connected;
}

bool SendAll(int socket, const char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t sent = ::send(socket, bytes, count, MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  return true;
}

// Of a message: its length with the length's own bytes.
std::size_t LengthAt(const std::string& bytes, std::size_t at) {
  std::uint32_t length = 0;
  std::memcpy(&length, bytes.data() + at, kLengthBytes);
  return ntohl(length);
}

}  // namespace

ProtocolTap::ProtocolTap(const std::string& host, int port, const std::string& folder)
    : host_(host), serverPort_(port) {
  if (folder.empty()) {
    ListenOnLoopback();
  } else {
    ListenIn(folder);
  }
  if (::listen(listener_, 1) != 0 || ::pipe(stop_) != 0) throw std::runtime_error("the tap cannot listen");
  thread_ = std::thread([this] { Serve(); });
}

void ProtocolTap::ListenOnLoopback() {
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* where = reinterpret_cast<sockaddr*>(&address);
  listener_ = ::socket(AF_INET, SOCK_STREAM, 0);
  if (::bind(listener_, where, length) != 0 || ::getsockname(listener_, where, &length) != 0) {
    throw std::runtime_error("the tap has no port");
  }
  port_ = ntohs(address.sin_port);
}

void ProtocolTap::ListenIn(const std::string& folder) {
  port_ = kUnixSocketPort;
  const sockaddr_un address = AddressIn(folder, port_);
  listener_ = ::socket(AF_UNIX, SOCK_STREAM, 0);
  if (::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::runtime_error("the tap has no socket in " + folder);
  }
}

ProtocolTap::~ProtocolTap() { Stop(); }

void ProtocolTap::Stop() {
  if (!thread_.joinable()) return;
  ::close(stop_[1]);
  thread_.join();
  ::close(stop_[0]);
  ::close(listener_);
}

std::string ProtocolTap::Take() {
  std::lock_guard lock(mutex_);
  std::string taken;
  taken.swap(kinds_);
  return taken;
}

void ProtocolTap::Serve() {
  for (;;) {
    pollfd awaited[] = {{listener_, POLLIN, 0}, {stop_[0], POLLIN, 0}};
    ::poll(awaited, 2, -1);
    if (awaited[1].revents) return;
    const int client = ::accept(listener_, nullptr, nullptr);
    const int server =
        host_.starts_with('/') ? ConnectToFolder(host_, serverPort_) : ConnectToHost(host_, serverPort_);
    unread_.clear();
    started_ = false;
    if (server >= 0) Carry(client, server);
    ::close(client);
    ::close(server);
  }
}

// Until one of the two ends.
void ProtocolTap::Carry(int client, int server) {
  char buffer[16384];
  for (;;) {
    pollfd awaited[] = {{client, POLLIN, 0}, {server, POLLIN, 0}, {stop_[0], POLLIN, 0}};
    ::poll(awaited, 3, -1);
    if (awaited[2].revents) return;
    const bool fromClient = awaited[0].revents != 0;
    const ssize_t count = ::recv(fromClient ? client : server, buffer, sizeof buffer, 0);
    if (count <= 0) return;
    const auto bytes = static_cast<std::size_t>(count);
    // Before it is passed on: whoever has the answer finds the question noted.
    if (fromClient) Note(buffer, bytes);
    if (!SendAll(fromClient ? server : client, buffer, bytes)) return;
  }
}

void ProtocolTap::Note(const char* bytes, std::size_t count) {
  unread_.append(bytes, count);
  for (;;) {
    const std::size_t letters = started_ ? 1 : 0;
    if (unread_.size() < letters + kLengthBytes) return;
    const std::size_t whole = letters + LengthAt(unread_, letters);
    if (unread_.size() < whole) return;
    if (started_ && unread_[0] != kPassword) {
      std::lock_guard lock(mutex_);
      kinds_ += unread_[0];
    }
    started_ = true;
    unread_.erase(0, whole);
  }
}
