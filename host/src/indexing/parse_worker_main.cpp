// velmora-parse-worker: reads source files from its standard input, a socket whose other end a scan
// holds, and answers with their symbols. It ends when that closes, or when a file takes too much.

#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <tree_sitter/api.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <new>
#include <string>
#include <string_view>

#include "indexing/extract.h"
#include "indexing/extraction_version.h"
#include "indexing/header.h"
#include "indexing/parse_message.h"

namespace {

using namespace velmora::host::indexing;

constexpr int CHANNEL = STDIN_FILENO;

// A file that took more than this leaves holes behind, which would count against the next one.
constexpr std::size_t MUCH = std::size_t{32} * 1024 * 1024;

[[noreturn]] void leave(ParseExit why) { ::_exit(static_cast<int>(why)); }

// Counts what is allocated. The count, unlike the limit of the address space, is the same on every
// machine and under the sanitizers.
class Memory {
 public:
  void set_most(std::size_t most) {
    most_ = most;
    peak_ = used_;
  }
  [[nodiscard]] std::size_t peak() const { return peak_; }

  void* allocate(std::size_t size) {
    check(size);
    return count(std::malloc(size));
  }
  void* allocate_zeroed(std::size_t items, std::size_t size) {
    if (size != 0 && items > most_ / size) leave(ParseExit::memory);
    check(items * size);
    return count(std::calloc(items, size));
  }
  void* resize(void* block, std::size_t size) {
    used_ -= ::malloc_usable_size(block);
    check(size);
    return count(std::realloc(block, size));
  }
  void release(void* block) {
    used_ -= ::malloc_usable_size(block);
    std::free(block);
  }

 private:
  void check(std::size_t size) const {
    if (used_ > most_ || size > most_ - used_) leave(ParseExit::memory);
  }
  void* count(void* block) {
    if (block == nullptr) leave(ParseExit::memory);
    used_ += ::malloc_usable_size(block);
    if (used_ > peak_) peak_ = used_;
    return block;
  }

  std::size_t most_ = std::numeric_limits<std::size_t>::max();
  std::size_t used_ = 0;
  std::size_t peak_ = 0;
};
constinit Memory memory;

void limit(__rlimit_resource resource, rlim_t most) {
  const rlimit both{.rlim_cur = most, .rlim_max = most};
  ::setrlimit(resource, &both);
}

// Gives up what parsing does not need: should a file get the better of a parser, it can use
// processor and memory, and answer nonsense.
void drop_rights() {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
  limit(RLIMIT_CORE, 0);
  limit(RLIMIT_FSIZE, 0);
#ifndef VELMORA_SANITIZED
  limit(RLIMIT_NOFILE, 0);  // no file, no socket: what is open stays open
#endif
}

void set_bounds(const ParseBounds& bounds) {
  memory.set_most(bounds.memory);
#ifndef VELMORA_SANITIZED
  // What is not counted: the code, the stack, what grammars allocate past the count.
  constexpr rlim_t REST = rlim_t{144} * 1024 * 1024;
  limit(RLIMIT_AS, bounds.memory + REST);
#endif
}

// From now on, for so much processor time; zero: for ever. The signal's default ends the process.
void set_timer(std::chrono::microseconds time) {
  itimerval timer{};
  timer.it_value.tv_sec = static_cast<time_t>(time.count() / 1'000'000);
  timer.it_value.tv_usec = static_cast<suseconds_t>(time.count() % 1'000'000);
  ::setitimer(ITIMER_PROF, &timer, nullptr);
}

bool receive(char* bytes, std::size_t count) {
  while (count > 0) {
    const ssize_t received = ::read(CHANNEL, bytes, count);
    if (received == 0 || (received < 0 && errno != EINTR)) return false;
    if (received < 0) continue;
    bytes += received;
    count -= static_cast<std::size_t>(received);
  }
  return true;
}

bool send(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(CHANNEL, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent < 0 && errno != EINTR) return false;
    if (sent > 0) bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

ParseAnswer answer(const ParseRequest& request) {
  if (request.is_header) {
    Header header = read_header(request.path, request.source, request.language);
    return {std::string(header.language), std::move(header.symbols)};
  }
  return {std::string(request.language),
          extract_symbols(request.language, request.path, request.source)};
}

// One file; whether there was one.
bool serve() {
  MessageLength length = 0;
  if (!receive(reinterpret_cast<char*>(&length), sizeof length)) return false;
  std::string message(length, '\0');
  if (!receive(message.data(), message.size())) return false;
  ParseBounds bounds;
  const std::optional<ParseRequest> request = read_request(message, bounds);
  if (!request) return false;
  set_bounds(bounds);
  set_timer(bounds.time);
  const std::string reply = to_message(answer(*request));
  set_timer({});
  return send(reply);
}

}  // namespace

void* operator new(std::size_t size) { return memory.allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return memory.allocate(size);
}
void operator delete(void* block) noexcept { memory.release(block); }
void operator delete(void* block, std::size_t) noexcept { memory.release(block); }

int main() {
  drop_rights();
  ts_set_allocator(
      [](std::size_t size) { return memory.allocate(size); },
      [](std::size_t items, std::size_t size) { return memory.allocate_zeroed(items, size); },
      [](void* block, std::size_t size) { return memory.resize(block, size); },
      [](void* block) { memory.release(block); });
  try {
    if (!send(VERSION)) return 1;
    while (serve()) {
      if (memory.peak() > MUCH) ::malloc_trim(0);
    }
  } catch (const TooManySymbolsError&) {
    leave(ParseExit::symbols);
  }
  return 0;
}
