#pragma once

#include <functional>
#include <memory>
#include <string>

namespace historian::command {

// Unpacks a gzip stream that `read` delivers piece by piece. Throws a Refusal that names the file if the
// stream is damaged.
class Gunzip {
 public:
  using Source = std::function<std::size_t(char* to, std::size_t most)>;

  Gunzip(std::string path, Source read);
  ~Gunzip();

  // Reads up to `most` bytes; returns 0 at the end.
  std::size_t Read(char* to, std::size_t most);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace historian::command
