#include "platform/Socket.h"

#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace platform {
namespace {

int Descriptor(const Socket& socket) { return static_cast<int>(socket.Get()); }

void Require(bool succeeded, const char* what) {
  if (!succeeded) throw std::system_error(errno, std::generic_category(), what);
}

// The address of PostgreSQL's Unix socket in a folder.
sockaddr_un AddressIn(const std::string& folder, int port) {
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  const std::string path = folder + "/.s.PGSQL." + std::to_string(port);
  if (path.size() >= sizeof address.sun_path) throw std::runtime_error(path + ": too long for a socket");
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  return address;
}

Socket ToFolder(const std::string& folder, int port) {
  const sockaddr_un address = AddressIn(folder, port);
  Socket socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  const auto* where = reinterpret_cast<const sockaddr*>(&address);
  return ::connect(Descriptor(socket), where, sizeof address) == 0 ? std::move(socket) : Socket();
}

}  // namespace

Socket Socket::Bound() {
  Socket socket(::socket(AF_INET, SOCK_STREAM, 0));
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Require(::bind(Descriptor(socket), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
  return socket;
}

int Socket::Port() const {
  sockaddr_in address = {};
  socklen_t length = sizeof address;
  Require(::getsockname(Descriptor(*this), reinterpret_cast<sockaddr*>(&address), &length) == 0,
          "getsockname");
  return ntohs(address.sin_port);
}

Socket Socket::BoundIn(const std::string& folder, int port) {
  const sockaddr_un address = AddressIn(folder, port);
  Socket socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  const auto* where = reinterpret_cast<const sockaddr*>(&address);
  Require(::bind(Descriptor(socket), where, sizeof address) == 0, "bind");
  return socket;
}

void Socket::Listen() const { Require(::listen(Descriptor(*this), 1) == 0, "listen"); }

Socket Socket::Accept() const {
  Socket accepted(::accept(Descriptor(*this), nullptr, nullptr));
  Require(static_cast<bool>(accepted), "accept");
  return accepted;
}

Socket Socket::To(const std::string& host, int port) {
  if (host.starts_with('/')) return ToFolder(host, port);
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return {};
  Socket connected;
  for (const addrinfo* one = found; one && !connected; one = one->ai_next) {
    Socket socket(::socket(one->ai_family, one->ai_socktype, one->ai_protocol));
    if (::connect(Descriptor(socket), one->ai_addr, one->ai_addrlen) == 0) connected = std::move(socket);
  }
  ::freeaddrinfo(found);
  return connected;
}

void Socket::Close() {
  if (handle_ != kNone) ::close(Descriptor(*this));
  handle_ = kNone;
}

bool Socket::SendAll(const char* bytes, std::size_t count, const Socket& cancel) const {
  while (count > 0) {
    pollfd awaited[] = {{Descriptor(cancel), POLLIN, 0}, {Descriptor(*this), POLLOUT, 0}};
    ::poll(awaited, std::size(awaited), -1);
    if (awaited[0].revents != 0) return false;
    const ssize_t sent = ::send(Descriptor(*this), bytes, count, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    if (sent <= 0) return false;
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  return true;
}

std::size_t Socket::Receive(char* bytes, std::size_t count) const {
  const ssize_t received = ::recv(Descriptor(*this), bytes, count, 0);
  return received > 0 ? static_cast<std::size_t>(received) : 0;
}

std::size_t WaitForAny(std::initializer_list<const Socket*> sockets) {
  std::vector<pollfd> awaited;
  for (const Socket* socket : sockets) awaited.push_back({Descriptor(*socket), POLLIN, 0});
  for (;;) {
    ::poll(awaited.data(), awaited.size(), -1);
    for (std::size_t i = 0; i < awaited.size(); ++i) {
      if (awaited[i].revents != 0) return i;
    }
  }
}

bool SendWithoutWaiting(int socket, const char* bytes, std::size_t count) {
  return ::send(socket, bytes, count, MSG_DONTWAIT | MSG_NOSIGNAL) > 0;
}

}  // namespace platform
