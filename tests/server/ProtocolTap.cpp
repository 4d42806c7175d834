#include "server/ProtocolTap.h"

#include <cstdint>
#include <stdexcept>

namespace {

constexpr char kPassword = 'p';  // the letter of all messages of signing in
constexpr std::size_t kLengthBytes = 4;
constexpr int kUnixSocketPort = 5432;  // a part of the name only

// The length field of a message, which counts its own bytes too.
std::size_t LengthAt(const std::string& bytes, std::size_t at) {
  std::uint32_t length = 0;
  for (std::size_t i = 0; i < kLengthBytes; ++i) {
    length = length << 8 | static_cast<unsigned char>(bytes[at + i]);
  }
  return length;
}

}  // namespace

ProtocolTap::ProtocolTap(const std::string& host, int port, const std::string& folder)
    : host_(host), serverPort_(port), port_(kUnixSocketPort) {
  if (folder.empty()) {
    listener_ = platform::Socket::Bound();
    port_ = listener_.Port();
  } else {
    listener_ = platform::Socket::BoundIn(folder, port_);
  }
  listener_.Listen();
  stop_ = platform::Socket::To(folder.empty() ? "127.0.0.1" : folder, port_);
  if (!stop_) throw std::runtime_error("the tap cannot listen");
  stopping_ = listener_.Accept();
  thread_ = std::thread([this] { Serve(); });
}

ProtocolTap::~ProtocolTap() { Stop(); }

void ProtocolTap::Stop() {
  if (!thread_.joinable()) return;
  stop_.Close();
  thread_.join();
  stopping_.Close();
  listener_.Close();
}

std::string ProtocolTap::Take() {
  std::lock_guard lock(mutex_);
  std::string taken;
  taken.swap(kinds_);
  return taken;
}

void ProtocolTap::Serve() {
  while (platform::WaitForAny({&stopping_, &listener_}) != 0) {
    const platform::Socket client = listener_.Accept();
    const platform::Socket server = platform::Socket::To(host_, serverPort_);
    unread_.clear();
    started_ = false;
    if (server) Carry(client, server);
  }
}

// Runs until one of the two sides closes.
void ProtocolTap::Carry(const platform::Socket& client, const platform::Socket& server) {
  char buffer[16384];
  while (const std::size_t ready = platform::WaitForAny({&stopping_, &client, &server})) {
    const bool fromClient = ready == 1;
    const std::size_t count = (fromClient ? client : server).Receive(buffer, sizeof buffer);
    if (count == 0) return;
    // Before it is passed on, so that whoever has the answer finds the message recorded.
    if (fromClient) Note(buffer, count);
    if (!(fromClient ? server : client).SendAll(buffer, count, stopping_)) return;
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
