#include "velmora/host/index/index.h"

#include <atomic>
#include <ctime>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "index/catalog.h"
#include "index/connection.h"
#include "index/index_errors.h"
#include "index/index_file.h"
#include "index/read_tree_state.h"
#include "index/reader_pool.h"
#include "index/row_cursor.h"
#include "index/symbol_writer.h"
#include "index/vector_matrix.h"
#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {
namespace {

// Runs `work`, which writes to `file`. A disk that takes nothing more is for the user to mend.
void write_to_disk(const std::filesystem::path& file, const std::function<void()>& work) {
  try {
    work();
  } catch (const storage::DatabaseError& error) {
    const bool refused = error.code() == SQLITE_READONLY || error.code() == SQLITE_CANTOPEN;
    const bool failed = error.code() == SQLITE_FULL || error.code() == SQLITE_IOERR;
    if ((!refused && !failed) || is_damage(error)) throw_as_index_error(error, file);
    throw IndexError("The index at " + file.string() + " cannot be written: " + error.what() +
                     (refused ? ". You may not write there, or too many files are open"
                              : ". If its disk is full, make room and try again; the index is as"
                                " it was"));
  }
}

// Why the index at `path` has to be made anew; empty when it can be brought up to date.
std::string fault_of(const std::filesystem::path& path) {
  try {
    return with_index_errors(path, [&]() -> std::string {
      storage::Database database = connect(path, 0);
      if (inspect(database, path) == Content::blank) {
        return "The index at " + path.string() + " was never finished";
      }
      if (!was_made_here(database, path)) {
        return "The index at " + path.string() + " was not made here by you";
      }
      verify(database, path);
      return {};
    });
  } catch (const UnusableIndexError& error) {
    return error.fault();
  }
}

}  // namespace

struct Index::Parts {
  explicit Parts(const std::filesystem::path& path) : file(path), readers(path) {}

  // As Index::nearest_symbol_ids. The first search in a state of the index reads the vectors, which
  // is all that a program needs that asks once; the next one keeps them.
  std::vector<storage::NearestPair> nearest(std::span<const float> values, std::string_view model,
                                            std::int64_t top_k);

  const std::filesystem::path file;
  ReaderPool readers;
  std::atomic<bool> remove_at_end = false;

  std::mutex vectors_lock;  // also makes threads take turns at reading a model's vectors
  std::string vectors_fingerprint;
  std::map<std::string, std::shared_ptr<const VectorMatrix>, std::less<>> vectors_by_model;
};

std::vector<storage::NearestPair> Index::Parts::nearest(std::span<const float> values,
                                                        std::string_view model,
                                                        std::int64_t top_k) {
  std::shared_ptr<const VectorMatrix> vectors;
  {
    const std::lock_guard guard(vectors_lock);
    const ReaderPool::Lease reader = readers.borrow();
    const storage::Transaction one_state(reader->database);
    std::string fingerprint = reader->fingerprint();
    if (fingerprint != vectors_fingerprint) {
      vectors_by_model.clear();
      vectors_fingerprint = std::move(fingerprint);
    }
    const auto [entry, first] = vectors_by_model.try_emplace(std::string(model));
    if (first) return VectorMatrix::nearest_as_read(reader->database, model, values, top_k);
    if (!entry->second) entry->second = std::make_shared<VectorMatrix>(reader->database, model);
    vectors = entry->second;
  }
  return vectors->nearest(values, top_k);
}

Index::Index(std::unique_ptr<Parts> parts) : parts_(std::move(parts)) {}

Index::~Index() {
  if (parts_->remove_at_end) remove_unfilled(parts_->file);
}

std::shared_ptr<Index> Index::open(const std::filesystem::path& file) {
  std::shared_ptr<Index> index = find(file);
  if (!index) throw no_index(resolved(file));
  return index;
}

std::shared_ptr<Index> Index::find(const std::filesystem::path& file) {
  // Absolute, so that a later change of the working folder changes nothing.
  const std::filesystem::path path = resolved(file);
  std::shared_ptr<Index> index(new Index(std::make_unique<Parts>(path)));
  try {
    with_index_errors(path, [&] {
      const ReaderPool::Lease reader = index->parts_->readers.borrow();
      if (inspect(reader->database, path) != Content::filled) throw no_index(path);
      // Pages that refer to one another in circles have an end only here.
      if (!was_made_here(reader->database, path)) verify(reader->database, path);
    });
  } catch (const NoIndexError&) {
    return nullptr;
  }
  return index;
}

std::shared_ptr<Index> Index::open_or_create(const std::filesystem::path& file) {
  std::filesystem::create_directories(std::filesystem::absolute(file).parent_path());
  const std::filesystem::path path = resolved(file);
  const bool missing = !require_plain_file(path);
  std::shared_ptr<Index> index(new Index(std::make_unique<Parts>(path)));
  index->parts_->remove_at_end = missing;
  write_to_disk(path, [&] {
    if (missing) make_private(path);
    storage::Database database = connect(path, 0);
    create_tables(database, path);
    make_private(path);
  });
  return index;
}

std::shared_ptr<Index> Index::open_or_remake(const std::filesystem::path& file, bool rebuild,
                                             const std::function<void(const std::string&)>& tell) {
  const std::filesystem::path path = resolved(file);
  if (require_plain_file(path)) {
    const std::string fault =
        rebuild ? "The index at " + path.string() + " is to be rebuilt" : fault_of(path);
    if (!fault.empty()) {
      tell(fault + ". It is made anew");
      remove_index(path);
    }
  }
  return open_or_create(path);
}

bool Index::made_here() {
  return with_index_errors(parts_->file, [&] {
    return was_made_here(parts_->readers.borrow()->database, parts_->file);
  });
}

TreeState Index::tree_state() {
  return with_index_errors(parts_->file, [&] {
    const ReaderPool::Lease reader = parts_->readers.borrow();
    const storage::Transaction one_state(reader->database);
    return read_tree_state(reader->database);
  });
}

void Index::write(const std::function<bool(storage::Database&)>& work) {
  write_to_disk(parts_->file, [&] {
    const FileIdentity identity = file_identity(parts_->file);
    storage::Database database = connect(parts_->file, 0);
    // Without it, the write-ahead log would keep the size of the largest transaction.
    database.execute("PRAGMA journal_size_limit = 16777216; PRAGMA synchronous = NORMAL");
    storage::Transaction transaction(database, "BEGIN IMMEDIATE");
    const Content content = inspect(database, parts_->file);
    if (content == Content::blank || file_identity(parts_->file) != identity) {
      throw IndexError("The index at " + parts_->file.string() +
                       " was replaced by another program. Try again");
    }
    make_private(parts_->file);
    if (work(database) || content == Content::unfilled) {
      database
          .prepare(
              "UPDATE meta SET generation = generation + 1, state = lower(hex(randomblob(16))),"
              " written = ?, version = ?")
          .bind(1, std::int64_t{std::time(nullptr)})
          .bind(2, std::string_view(VELMORA_VERSION))
          .run();
    }
    transaction.commit();
    parts_->remove_at_end = false;
  });
}

std::int64_t Index::replace(const std::function<std::optional<Symbol>()>& next, VectorKind kind) {
  std::int64_t count = 0;
  write([&](storage::Database& database) {
    SymbolWriter writer(database, kind);
    while (const std::optional<Symbol> symbol = next()) {
      writer.add(*symbol);
      ++count;
    }
    writer.finish();
    return true;
  });
  return count;
}

void Index::update(const std::function<void(Update&)>& change) {
  write([&](storage::Database& database) {
    Update update(database);
    change(update);
    update.finish();
    return update.changed();
  });
}

void Index::update_vectors(const std::function<void(TextVectors&)>& change) {
  write([&](storage::Database& database) {
    TextVectors vectors(database);
    change(vectors);
    return vectors.changed();
  });
}

void Index::read(const std::function<void(Catalog&)>& read) {
  with_index_errors(parts_->file, [&] {
    const ReaderPool::Lease reader = parts_->readers.borrow();
    const storage::Transaction one_state(reader->database);
    Catalog catalog(reader->database);
    read(catalog);
  });
}

storage::IndexFingerprint Index::retrieval_fingerprint() {
  return with_index_errors(parts_->file, [&]() -> storage::IndexFingerprint {
    return {parts_->readers.borrow()->fingerprint()};
  });
}

std::unique_ptr<storage::SymbolCursor> Index::retrievable_code_symbols(
    std::span<const std::string_view> languages, std::span<const std::string_view> kinds) {
  return with_index_errors(parts_->file, [&] {
    return std::make_unique<RowCursor>(parts_->readers.borrow(), languages, kinds);
  });
}

std::vector<storage::NearestPair> Index::nearest_symbol_ids(std::span<const float> values,
                                                            std::string_view model,
                                                            storage::NearestOptions options) {
  if (options.top_k < 1) throw std::invalid_argument("top_k must be at least 1");
  return with_index_errors(parts_->file,
                           [&] { return parts_->nearest(values, model, options.top_k); });
}

void Index::read_symbol(SymbolId id, const std::function<void(const storage::SymbolRow&)>& read) {
  with_index_errors(parts_->file, [&] {
    const ReaderPool::Lease reader = parts_->readers.borrow();
    storage::Statement& select = reader->select_symbol;
    select.bind(1, id);
    if (select.step()) read(reader->rows.read(select));
    select.reset();
  });
}

std::unordered_map<SymbolId, storage::StoredSymbol> Index::get_symbols_by_ids(
    std::span<const SymbolId> ids) {
  std::unordered_map<SymbolId, storage::StoredSymbol> found;
  with_index_errors(parts_->file, [&] {
    const ReaderPool::Lease reader = parts_->readers.borrow();
    storage::Statement& select = reader->select_symbol;
    for (const SymbolId id : ids) {
      select.bind(1, id);
      if (select.step()) {
        const std::optional<std::string_view> docstring = reader->rows.read(select).docstring;
        storage::StoredSymbol& symbol = found[id];
        if (docstring) symbol.docstring.emplace(*docstring);
      }
      select.reset();
    }
  });
  return found;
}

}  // namespace velmora::host::index
