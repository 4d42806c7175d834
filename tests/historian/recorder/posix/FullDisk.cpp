// Loaded into a server: while the file named by DBMSAPI_DISK_FULL exists, no file of a table or an index can
// grow, as on a full disk. Works for every user, while a small disk would need an administrator.

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

bool IsOfATable(int file) {
  char name[4096];
  const std::string link = "/proc/self/fd/" + std::to_string(file);
  const ssize_t length = ::readlink(link.c_str(), name, sizeof name - 1);
  if (length <= 0) return false;
  name[length] = '\0';
  return std::strstr(name, "/base/") != nullptr;
}

bool HasNoSpace(int file, off_t count, off_t at) {
  const char* const flag = std::getenv("DBMSAPI_DISK_FULL");
  struct stat status = {};
  return flag && ::access(flag, F_OK) == 0 && IsOfATable(file) && ::fstat(file, &status) == 0 &&
         at + count > status.st_size;
}

// Calls the C library's function of this name, which reports failures by -1 and errno.
template <typename... Arguments>
ssize_t WriteUnlessFull(const char* name, int file, off_t count, off_t at, Arguments... arguments) {
  if (HasNoSpace(file, count, at)) {
    errno = ENOSPC;
    return -1;
  }
  return reinterpret_cast<ssize_t (*)(int, Arguments...)>(::dlsym(RTLD_NEXT, name))(file, arguments...);
}

off_t Size(const iovec* parts, int count) {
  off_t size = 0;
  for (int i = 0; i < count; ++i) size += static_cast<off_t>(parts[i].iov_len);
  return size;
}

// Returns the error number.
int AllocateUnlessFull(const char* name, int file, off_t at, off_t count) {
  if (HasNoSpace(file, count, at)) return ENOSPC;
  return reinterpret_cast<int (*)(int, off_t, off_t)>(::dlsym(RTLD_NEXT, name))(file, at, count);
}

}  // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED ssize_t pwrite(int file, const void* bytes, size_t count, off_t at) {
  return WriteUnlessFull("pwrite", file, static_cast<off_t>(count), at, bytes, count, at);
}

EXPORTED ssize_t pwrite64(int file, const void* bytes, size_t count, off_t at) {
  return WriteUnlessFull("pwrite64", file, static_cast<off_t>(count), at, bytes, count, at);
}

// PostgreSQL 16 and later grow a file by several pages at once.
EXPORTED ssize_t pwritev(int file, const iovec* parts, int count, off_t at) {
  return WriteUnlessFull("pwritev", file, Size(parts, count), at, parts, count, at);
}

EXPORTED ssize_t pwritev64(int file, const iovec* parts, int count, off_t at) {
  return WriteUnlessFull("pwritev64", file, Size(parts, count), at, parts, count, at);
}

EXPORTED int posix_fallocate(int file, off_t at, off_t count) {
  return AllocateUnlessFull("posix_fallocate", file, at, count);
}

EXPORTED int posix_fallocate64(int file, off_t at, off_t count) {
  return AllocateUnlessFull("posix_fallocate64", file, at, count);
}
