#include "index/reader_pool.h"

#include <cstddef>
#include <new>
#include <utility>

#include "index/index_errors.h"
#include "index/index_file.h"

namespace velmora::host::index {
namespace {

// More connections than this are closed once their readers are done.
constexpr std::size_t MOST_IDLE = 8;

storage::Database inspected(storage::Database database, const std::filesystem::path& file) {
  if (inspect(database, file) == Content::blank) throw no_index(file);
  database.execute("PRAGMA query_only = ON");
  return database;
}

storage::Database connect_reader(const std::filesystem::path& file, bool& is_still) {
  if (can_share(file)) {
    try {
      // Not opened as read-only: such a connection cannot recover or clear up the write-ahead log.
      return inspected(connect(file, 0), file);
    } catch (const storage::DatabaseError& error) {
      if (!wants_still(error)) throw;
    }
  }
  is_still = true;
  return inspected(connect_still(file), file);
}

}  // namespace

Reader::Reader(std::filesystem::path file_path, FileIdentity file_identity)
    : file(std::move(file_path)),
      identity(file_identity),
      database(connect_reader(file, is_still)),
      select_fingerprint(
          database.prepare("SELECT identity || '-' || generation || '-' || state FROM meta",
                           SQLITE_PREPARE_PERSISTENT)),
      select_symbol(database.prepare(std::string(SELECT_SYMBOL_ROWS) + " WHERE s.id = ?",
                                     SQLITE_PREPARE_PERSISTENT)),
      rows(database) {}

std::string Reader::fingerprint() {
  if (!select_fingerprint.step()) {
    throw damaged(file);
  }
  std::string value(select_fingerprint.column_text(0));
  select_fingerprint.reset();
  return value;
}

ReaderPool::Lease ReaderPool::borrow() {
  // Asked before the file is opened: one that is replaced between the two is noticed the next time.
  const FileIdentity now = file_identity(file_);
  std::vector<std::unique_ptr<Reader>> outdated;  // closed without the lock
  {
    const std::lock_guard guard(lock_);
    while (!idle_.empty()) {
      std::unique_ptr<Reader> reader = std::move(idle_.back());
      idle_.pop_back();
      if (reader->identity == now) return Lease(reader.release(), Return{this});
      outdated.push_back(std::move(reader));
    }
  }
  return Lease(new Reader(file_, now), Return{this});
}

void ReaderPool::give_back(std::unique_ptr<Reader> reader) noexcept {
  const std::lock_guard guard(lock_);
  try {
    if (!reader->is_still && idle_.size() < MOST_IDLE) idle_.push_back(std::move(reader));
  } catch (const std::bad_alloc&) {
    // Then it is closed.
  }
}

void ReaderPool::Return::operator()(Reader* reader) const noexcept {
  // A statement that an error left open would keep the reader in its old state.
  reader->select_fingerprint.reset();
  reader->select_symbol.reset();
  pool->give_back(std::unique_ptr<Reader>(reader));
}

}  // namespace velmora::host::index
