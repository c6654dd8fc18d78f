// FTS5 hands a table's tokenizer to auxiliary functions only, so the work is passed as a pointer to
// one that is called for a single row.
#include "workers/retrieval/table_tokenizer.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <stdexcept>

namespace velmora::workers::retrieval::internal {
namespace {

constexpr const char* POINTER_TYPE = "velmora tokenizer work";
constexpr int LONGEST_TOKEN = 32768;  // bytes; FTS5 cuts a longer one

struct Work {
  const std::function<void(const TableTokenizer::Tokenize&)>& use;
  std::exception_ptr error;
};

// Called by SQLite for each token.
int take_token(void* context, int flags, const char* token, int size, int, int) noexcept {
  if ((flags & FTS5_TOKEN_COLOCATED) != 0) return SQLITE_OK;
  auto& tokens = *static_cast<Tokens*>(context);
  if (tokens.count++ != 0) return SQLITE_OK;
  try {
    tokens.first.assign(token, static_cast<std::size_t>(std::min(size, LONGEST_TOKEN)));
    return SQLITE_OK;
  } catch (...) {
    return SQLITE_NOMEM;
  }
}

Tokens tokenized(const Fts5ExtensionApi* api, Fts5Context* fts, std::string_view text) {
  if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
    storage::throw_database_error(nullptr, SQLITE_TOOBIG);
  }
  Tokens tokens;
  const int code =
      api->xTokenize(fts, text.data(), static_cast<int>(text.size()), &tokens, take_token);
  if (code != SQLITE_OK) storage::throw_database_error(nullptr, code);
  return tokens;
}

void run_tokenizer(const Fts5ExtensionApi* api, Fts5Context* fts, sqlite3_context* result,
                   int arguments, sqlite3_value** values) noexcept {
  auto* work =
      arguments == 1 ? static_cast<Work*>(sqlite3_value_pointer(values[0], POINTER_TYPE)) : nullptr;
  if (work == nullptr) return sqlite3_result_error(result, "run_tokenizer takes its work", -1);
  try {
    work->use([&](std::string_view text) { return tokenized(api, fts, text); });
  } catch (...) {
    work->error = std::current_exception();
  }
}

}  // namespace

TableTokenizer::TableTokenizer(const storage::Database& database, const std::string& table) {
  fts5_api* api = nullptr;
  database.prepare("SELECT fts5(?1)").bind_pointer(1, &api, "fts5_api_ptr").run();
  if (api == nullptr) storage::throw_database_error(nullptr, SQLITE_ERROR);
  const int code = api->xCreateFunction(api, "run_tokenizer", nullptr, run_tokenizer, nullptr);
  if (code != SQLITE_OK) storage::throw_database_error(database.handle(), code);
  statement_ = database.prepare("SELECT run_tokenizer(" + table + ", ?) FROM " + table + " LIMIT 1",
                                SQLITE_PREPARE_PERSISTENT);
}

bool TableTokenizer::run(const std::function<void(const Tokenize&)>& use) {
  Work work{use, nullptr};
  statement_.bind_pointer(1, &work, POINTER_TYPE);
  const bool ran = statement_.step();
  statement_.reset();
  if (work.error) std::rethrow_exception(work.error);
  return ran;
}

}  // namespace velmora::workers::retrieval::internal
