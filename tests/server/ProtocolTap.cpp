#include "server/ProtocolTap.h"

namespace {

constexpr char kPassword = 'p';        // the letter of all authentication messages
constexpr int kUnixSocketPort = 5432;  // a part of the name only

}  // namespace

ProtocolTap::ProtocolTap(const std::string& host, int port, const std::string& folder)
    : host_(host),
      serverPort_(port),
      listener_(folder.empty() ? platform::Listener() : platform::Listener(folder, kUnixSocketPort)) {
  listener_.Open();
  thread_ = std::thread([this] { Serve(); });
}

ProtocolTap::~ProtocolTap() { Stop(); }

void ProtocolTap::Stop() {
  if (!thread_.joinable()) return;
  listener_.Stop();
  thread_.join();
  listener_.Close();
}

std::string ProtocolTap::Take() {
  std::lock_guard lock(mutex_);
  std::string taken;
  taken.swap(kinds_);
  return taken;
}

void ProtocolTap::Serve() {
  while (const platform::Socket client = listener_.Accept()) {
    const platform::Socket server = platform::Socket::To(host_, serverPort_);
    if (server) Carry(client, server);
  }
}

// Runs until one of the two sides closes.
void ProtocolTap::Carry(const platform::Socket& client, const platform::Socket& server) {
  char buffer[16384];
  ProtocolMessages messages(ProtocolMessages::From::Client);
  while (const std::size_t ready = platform::WaitForAny({&listener_.Stopped(), &client, &server})) {
    const bool fromClient = ready == 1;
    const std::size_t count = (fromClient ? client : server).Receive(buffer, sizeof buffer);
    if (count == 0) return;
    // Recorded before it is passed on, so that it is there when the client has the answer.
    if (fromClient) {
      messages.Add(buffer, count);
      Note(messages);
    }
    if (!(fromClient ? server : client).SendAll(buffer, count, listener_.Stopped())) return;
  }
}

void ProtocolTap::Note(ProtocolMessages& messages) {
  while (const auto message = messages.Next()) {
    if (message->letter == '\0' || message->letter == kPassword) continue;
    std::lock_guard lock(mutex_);
    kinds_ += message->letter;
  }
}
