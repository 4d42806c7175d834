#include "platform/Socket.h"

#include <winsock2.h>
// The order matters: ws2tcpip.h builds on winsock2.h.
#include <ws2tcpip.h>

#include <stdexcept>
#include <system_error>
#include <vector>

namespace platform {
namespace {

SOCKET Descriptor(const Socket& socket) { return static_cast<SOCKET>(socket.Get()); }

void Require(bool succeeded, const char* what) {
  if (!succeeded) throw std::system_error(WSAGetLastError(), std::system_category(), what);
}

void SetWaiting(SOCKET socket, bool waits) {
  u_long withoutWaiting = waits ? 0 : 1;
  Require(::ioctlsocket(socket, static_cast<long>(FIONBIO), &withoutWaiting) == 0, "ioctlsocket");
}

// Initialises sockets with the first one, for the life of the process.
Socket Make(int family, int protocol = 0) {
  static const bool started = [] {
    WSADATA data;
    return WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  Require(started, "WSAStartup");
  return Socket(static_cast<Socket::Handle>(::socket(family, SOCK_STREAM, protocol)));
}

}  // namespace

Socket Socket::Bound() {
  Socket socket = Make(AF_INET);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  Require(::bind(Descriptor(socket), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
  return socket;
}

int Socket::Port() const {
  sockaddr_in address = {};
  int length = sizeof address;
  Require(::getsockname(Descriptor(*this), reinterpret_cast<sockaddr*>(&address), &length) == 0,
          "getsockname");
  return ntohs(address.sin_port);
}

Socket Socket::BoundIn(const std::string&, int) { throw std::runtime_error("no Unix sockets here"); }

void Socket::Listen() const { Require(::listen(Descriptor(*this), 1) == 0, "listen"); }

Socket Socket::Accept() const {
  Socket accepted(static_cast<Handle>(::accept(Descriptor(*this), nullptr, nullptr)));
  Require(static_cast<bool>(accepted), "accept");
  return accepted;
}

Socket Socket::To(const std::string& host, int port) {
  const Socket starts_winsock = Make(AF_INET);
  addrinfo hints = {};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) != 0) return {};
  Socket connected;
  for (const addrinfo* one = found; one && !connected; one = one->ai_next) {
    Socket socket = Make(one->ai_family, one->ai_protocol);
    if (::connect(Descriptor(socket), one->ai_addr, static_cast<int>(one->ai_addrlen)) == 0) {
      connected = std::move(socket);
    }
  }
  ::freeaddrinfo(found);
  return connected;
}

void Socket::Close() {
  if (handle_ != kNone) ::closesocket(Descriptor(*this));
  handle_ = kNone;
}

bool Socket::SendAll(const char* bytes, std::size_t count, const Socket& cancel) const {
  while (count > 0) {
    fd_set canceled, writable;
    FD_ZERO(&canceled);
    FD_ZERO(&writable);
    FD_SET(Descriptor(cancel), &canceled);
    FD_SET(Descriptor(*this), &writable);
    Require(::select(0, &canceled, &writable, nullptr, nullptr) != SOCKET_ERROR, "select");
    if (FD_ISSET(Descriptor(cancel), &canceled)) return false;
    // Windows has no non-blocking flag for a single call.
    SetWaiting(Descriptor(*this), false);
    const int sent = ::send(Descriptor(*this), bytes, static_cast<int>(count), 0);
    const int error = sent < 0 ? WSAGetLastError() : 0;
    SetWaiting(Descriptor(*this), true);
    if (error == WSAEWOULDBLOCK) continue;
    if (sent <= 0) return false;
    bytes += sent;
    count -= static_cast<std::size_t>(sent);
  }
  return true;
}

std::size_t Socket::Receive(char* bytes, std::size_t count) const {
  const int received = ::recv(Descriptor(*this), bytes, static_cast<int>(count), 0);
  return received > 0 ? static_cast<std::size_t>(received) : 0;
}

std::size_t WaitForAny(std::initializer_list<const Socket*> sockets) {
  for (;;) {
    fd_set awaited;
    FD_ZERO(&awaited);
    for (const Socket* socket : sockets) FD_SET(Descriptor(*socket), &awaited);
    Require(::select(0, &awaited, nullptr, nullptr, nullptr) != SOCKET_ERROR, "select");
    std::size_t index = 0;
    for (const Socket* socket : sockets) {
      if (FD_ISSET(Descriptor(*socket), &awaited)) return index;
      ++index;
    }
  }
}

bool SendWithoutWaiting(int socket, const char* bytes, std::size_t count) {
  SetWaiting(static_cast<SOCKET>(socket), false);
  return ::send(static_cast<SOCKET>(socket), bytes, static_cast<int>(count), 0) > 0;
}

}  // namespace platform
