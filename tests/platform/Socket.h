#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>

namespace platform {

// A stream socket that closes with its owner. What fails at it throws, unless it is said otherwise.
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

  // At a free port of 127.0.0.1: there every connection is refused, until Listen.
  static Socket Bound();
  int Port() const;
  // In a folder, as the server makes its Unix socket there. Throws where the platform has none.
  static Socket BoundIn(const std::string& folder, int port);
  void Listen() const;
  Socket Accept() const;

  // To a host, or to the folder of a Unix socket where the platform has those. Nothing when nobody answers.
  static Socket To(const std::string& host, int port);

  explicit operator bool() const { return handle_ != kNone; }
  Handle Get() const { return handle_; }
  void Close();

  // False when the other side is gone, or when the socket that cancels has something to receive or is closed
  // by its other side. Until then it waits for a receiver that does not read.
  bool SendAll(const char* bytes, std::size_t count, const Socket& cancel) const;
  // The number of bytes that came, 0 when the other side is gone.
  std::size_t Receive(char* bytes, std::size_t count) const;

 private:
  static constexpr Handle kNone = -1;
  Handle handle_ = kNone;
};

// Waits until one of the sockets has something to receive or to accept, or has failed; gives the first such.
std::size_t WaitForAny(std::initializer_list<const Socket*> sockets);

// Sends what fits into the buffers of a socket of somebody else's, without waiting: false when that is
// nothing.
bool SendWithoutWaiting(int socket, const char* bytes, std::size_t count);

}  // namespace platform
