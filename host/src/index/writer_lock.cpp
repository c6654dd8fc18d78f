#include "velmora/host/index/writer_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <ctime>
#include <system_error>
#include <utility>

namespace velmora::host::index {
namespace {

std::string time_of_day() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  std::array<char, 16> text{};
  std::strftime(text.data(), text.size(), "%H:%M:%S", &local);
  return text.data();
}

}  // namespace

WriterLock::WriterLock(OpenFile file) : file_(std::move(file)), process_(::getpid()) {}

WriterLock::~WriterLock() {
  // Closing the file is not enough: processes that were forked meanwhile have it open too.
  const int descriptor = file_.descriptor();
  if (descriptor >= 0 && process_ == ::getpid()) ::flock(descriptor, LOCK_UN);
}

std::optional<WriterLock> WriterLock::try_take(const std::filesystem::path& lock) {
  const auto fail = [&] {
    throw std::system_error(errno, std::generic_category(), lock.string() + " cannot be locked");
  };
  WriterLock taken(open_plain_file(lock, O_RDWR | O_CREAT));
  const int descriptor = taken.file_.descriptor();
  if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EWOULDBLOCK) return std::nullopt;
    fail();
  }
  const std::string who = "process " + std::to_string(::getpid()) + ", since " + time_of_day();
  if (::ftruncate(descriptor, 0) != 0 ||
      ::write(descriptor, who.data(), who.size()) != static_cast<ssize_t>(who.size())) {
    fail();
  }
  return taken;
}

std::string WriterLock::holder(const std::filesystem::path& lock) {
  const OpenFile file = open_plain_file(lock, O_RDONLY);
  std::array<char, 128> who{};
  const ssize_t size = ::read(file.descriptor(), who.data(), who.size());
  // The holder may not have written it yet.
  return size > 0 ? std::string(who.data(), static_cast<std::size_t>(size)) : "another process";
}

}  // namespace velmora::host::index
