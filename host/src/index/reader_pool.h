// Connections that read an index, kept for the next reader.
#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "index/connection.h"
#include "index/row_reader.h"
#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// A connection that reads, with the statements that every question runs. For one thread at a time.
struct Reader {
  Reader(std::filesystem::path file_path, FileIdentity file_identity);

  // The fingerprint of the state that this connection sees.
  [[nodiscard]] std::string fingerprint();

  const std::filesystem::path file;
  const FileIdentity identity;
  bool is_still = false;  // sees what it saw when it was opened, or fails: not to be used again
  storage::Database database;
  storage::Statement select_fingerprint;
  storage::Statement select_symbol;  // by id
  RowReader rows;                    // of it
};

// Lends readers. Thread-safe; outlives what it lent.
class ReaderPool {
 public:
  explicit ReaderPool(std::filesystem::path file) : file_(std::move(file)) {}

  // Takes a reader back when its lease ends; transactions and other statements are over by then.
  struct Return {
    ReaderPool* pool = nullptr;
    void operator()(Reader* reader) const noexcept;
  };
  using Lease = std::unique_ptr<Reader, Return>;

  // A reader of the file that stands at the path now. Throws IndexError when that is no index.
  [[nodiscard]] Lease borrow();

 private:
  void give_back(std::unique_ptr<Reader> reader) noexcept;

  const std::filesystem::path file_;
  std::mutex lock_;
  std::vector<std::unique_ptr<Reader>> idle_;
};

}  // namespace velmora::host::index
