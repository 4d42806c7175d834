// Operations against a server whose answers are changed according to the bytes.

#include "Fuzz.h"
#include "HostileServer.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::RunHostileServer({reinterpret_cast<const char*>(data), size});
  return 0;
}
