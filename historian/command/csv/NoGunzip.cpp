// The platform is built without zlib.
#include "../Failure.h"
#include "../Text.h"
#include "Gunzip.h"

namespace historian::command {

struct Gunzip::State {};

Gunzip::Gunzip(std::string path, Source) {
  throw Refusal(OneLine(path) + ": is a gzip file; unpack it first");
}
Gunzip::~Gunzip() = default;
std::size_t Gunzip::Read(char*, std::size_t) { return 0; }

}  // namespace historian::command
