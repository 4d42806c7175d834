#include "Gunzip.h"

#include <zlib.h>

#include <vector>

#include "../Failure.h"
#include "../Text.h"

namespace historian::command {
namespace {

constexpr std::size_t kPackedBlock = 64 * 1024;
constexpr int kGzipOnly = 16;

}  // namespace

struct Gunzip::State {
  std::string path;
  Source read;
  std::vector<char> input = std::vector<char>(kPackedBlock);
  z_stream stream{};
  bool inside = false;  // within a member of the file

  void Fill() {
    stream.avail_in = static_cast<uInt>(read(input.data(), input.size()));
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
  }
};

Gunzip::Gunzip(std::string path, Source read) : state_(new State{std::move(path), std::move(read)}) {
  if (inflateInit2(&state_->stream, MAX_WBITS + kGzipOnly) != Z_OK) throw std::bad_alloc();
}

Gunzip::~Gunzip() { inflateEnd(&state_->stream); }

std::size_t Gunzip::Read(char* to, std::size_t most) {
  z_stream& stream = state_->stream;
  stream.next_out = reinterpret_cast<Bytef*>(to);
  stream.avail_out = static_cast<uInt>(most);
  while (stream.avail_out == most) {
    if (stream.avail_in == 0) state_->Fill();
    if (stream.avail_in == 0) {
      if (state_->inside) throw Refusal(OneLine(state_->path) + ": the gzip file ends too early");
      return 0;
    }
    state_->inside = true;
    const int result = inflate(&stream, Z_NO_FLUSH);
    if (result == Z_STREAM_END) {
      state_->inside = false;
      inflateReset(&stream);  // a gzip file may have several members
    } else if (result != Z_OK) {
      throw Refusal(OneLine(state_->path) + ": the gzip file is damaged");
    }
  }
  return most - stream.avail_out;
}

}  // namespace historian::command
