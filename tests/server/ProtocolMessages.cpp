#include "server/ProtocolMessages.h"

#include <cstdint>

namespace {

constexpr std::size_t kLengthBytes = 4;

// Of a message: its length with the length's own bytes.
std::size_t LengthAt(const std::string& bytes, std::size_t at) {
  std::uint32_t length = 0;
  for (std::size_t i = 0; i < kLengthBytes; ++i) {
    length = length << 8 | static_cast<unsigned char>(bytes[at + i]);
  }
  return length;
}

}  // namespace

std::optional<ProtocolMessage> ProtocolMessages::Next() {
  const std::size_t letters = started_ ? 1 : 0;
  if (unread_.size() < letters + kLengthBytes) return std::nullopt;
  const std::size_t whole = letters + LengthAt(unread_, letters);
  if (unread_.size() < whole) return std::nullopt;
  ProtocolMessage message{started_ ? unread_[0] : '\0', unread_.substr(0, whole)};
  unread_.erase(0, whole);
  started_ = true;
  return message;
}
