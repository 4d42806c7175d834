#include "server/ProtocolMessages.h"

namespace {

constexpr std::size_t kLengthBytes = 4;
constexpr std::uint32_t kSslRequest = 80877103, kGssRequest = 80877104;

// Whether a message without a letter asks for encryption; the startup message comes after it.
bool AsksForEncryption(const std::string& bytes) {
  if (bytes.size() != 2 * kLengthBytes) return false;
  const std::uint32_t code = NumberAt(bytes, kLengthBytes);
  return code == kSslRequest || code == kGssRequest;
}

}  // namespace

std::uint32_t NumberAt(const std::string& bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = at; i < at + 4; ++i) number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return number;
}

std::optional<ProtocolMessage> ProtocolMessages::Next() {
  const std::size_t letters = started_ ? 1 : 0;
  if (unread_.size() < letters + kLengthBytes) return std::nullopt;
  const std::size_t whole = letters + NumberAt(unread_, letters);
  if (unread_.size() < whole) return std::nullopt;
  ProtocolMessage message{started_ ? unread_[0] : '\0', unread_.substr(0, whole)};
  unread_.erase(0, whole);
  started_ = started_ || !AsksForEncryption(message.bytes);
  return message;
}
