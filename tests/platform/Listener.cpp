#include "platform/Listener.h"

#include <stdexcept>

namespace platform {

Listener::Listener() : socket_(Socket::Bound()), host_("127.0.0.1"), port_(socket_.Port()) {}

Listener::Listener(const std::string& folder, int port)
    : socket_(Socket::BoundIn(folder, port)), host_(folder), port_(port) {}

void Listener::Open() {
  socket_.Listen();
  stop_ = Socket::To(host_, port_);
  if (!stop_) throw std::runtime_error("cannot connect to its own socket");
  stopped_ = socket_.Accept();
}

Socket Listener::Accept() const {
  return WaitForAny({&stopped_, &socket_}) == 0 ? Socket() : socket_.Accept();
}

void Listener::Close() {
  stop_.Close();
  stopped_.Close();
  socket_.Close();
}

}  // namespace platform
