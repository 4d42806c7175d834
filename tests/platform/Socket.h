#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

namespace platform {

// A stream socket, closed by its destructor. Failures throw unless said otherwise.
class Socket {
 public:
  using Handle = std::intptr_t;

  Socket() = default;
  explicit Socket(Handle handle) : handle_(handle) {}
  Socket(Socket&& other) noexcept : handle_(std::exchange(other.handle_, kNone)) {}
  Socket& operator=(Socket&& other) noexcept {
    std::swap(handle_, other.handle_);
    return *this;
  }
  ~Socket() { Close(); }

  // Bound to a free port of 127.0.0.1. Connections to it are refused until Listen.
  static Socket Bound();
  int Port() const;
  // Bound to a Unix socket in a folder, with the name that PostgreSQL gives it. Throws where the platform has
  // none.
  static Socket BoundIn(const std::string& folder, int port);
  void Listen() const;
  Socket Accept() const;

  // Connected to a host, or to the folder of a Unix socket. Empty when the connection fails.
  static Socket To(const std::string& host, int port);

  explicit operator bool() const { return handle_ != kNone; }
  Handle Get() const { return handle_; }
  void Close();

  // Sends everything, and waits while the receiver does not read. Returns false when the other side is gone,
  // or when `cancel` becomes readable or its other side closes it.
  bool SendAll(const char* bytes, std::size_t count, const Socket& cancel) const;
  // Returns the number of bytes received, 0 when the other side is gone.
  std::size_t Receive(char* bytes, std::size_t count) const;

 private:
  static constexpr Handle kNone = -1;
  Handle handle_ = kNone;
};

// Waits until a socket has something to receive or to accept, or has failed; returns the index of the first.
std::size_t WaitForAny(std::initializer_list<const Socket*> sockets);

// Sends as much as fits into the buffers of a foreign socket, without waiting. Returns false when nothing
// fits.
bool SendWithoutWaiting(int socket, const char* bytes, std::size_t count);

}  // namespace platform
