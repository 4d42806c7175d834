#pragma once

// Messages of the server's protocol, version 3: a type, the length of the rest in four bytes, the rest.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

using Messages = std::vector<std::string>;

inline std::string Number(std::uint32_t value, int bytes) {
  std::string text;
  for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) text += static_cast<char>(value >> shift & 0xFF);
  return text;
}

inline std::string Message(char type, const std::string& body) {
  return type + Number(static_cast<std::uint32_t>(body.size()) + 4, 4) + body;
}

// A text with the NUL that ends it.
inline std::string Text(std::string_view text) { return std::string(text) + '\0'; }

inline std::string Parameter(std::string_view name, std::string_view value) {
  return Message('S', Text(name) + Text(value));
}

inline std::string Complete(std::string_view tag) { return Message('C', Text(tag)); }

inline std::string Ready(char transaction) { return Message('Z', std::string(1, transaction)); }

inline std::string Failure(std::string_view state, std::string_view text) {
  return Message('E',
                 'S' + Text("ERROR") + 'V' + Text("ERROR") + 'C' + Text(state) + 'M' + Text(text) + '\0');
}

// Columns of texts.
inline std::string Description(std::size_t columns) {
  constexpr std::uint32_t kTextType = 25;
  std::string body = Number(static_cast<std::uint32_t>(columns), 2);
  for (std::size_t i = 0; i < columns; ++i) {
    body += Text("c" + std::to_string(i)) + Number(0, 4) + Number(0, 2) + Number(kTextType, 4) +
            Number(0xFFFF, 2) + Number(0xFFFFFFFF, 4) + Number(0, 2);
  }
  return Message('T', body);
}

inline std::string Row(const std::vector<std::string>& values) {
  std::string body = Number(static_cast<std::uint32_t>(values.size()), 2);
  for (const std::string& value : values) {
    body += Number(static_cast<std::uint32_t>(value.size()), 4) + value;
  }
  return Message('D', body);
}

}  // namespace fuzz
