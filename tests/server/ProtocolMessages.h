#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

// A message of the protocol between client and server.
struct ProtocolMessage {
  char letter;        // its kind; 0 for the first messages of a client, which have none
  std::string bytes;  // the whole message, with its letter
};

// The number in the four bytes at a place.
std::uint32_t NumberAt(const std::string& bytes, std::size_t at);

// Splits the bytes of one direction of a connection into messages.
class ProtocolMessages {
 public:
  // Only a client's requests for encryption and its startup message have no letter.
  enum class From { Client, Server };
  explicit ProtocolMessages(From from) : started_(from == From::Server) {}

  void Add(const char* bytes, std::size_t count) { unread_.append(bytes, count); }

  // The next message; no value until it is complete.
  std::optional<ProtocolMessage> Next();

 private:
  bool started_;
  std::string unread_;
};
