#include "index/index_errors.h"

#include "velmora/host/index/index_folder.h"

namespace velmora::host::index {
namespace {

namespace fs = std::filesystem;

std::string import_command(const fs::path& file) {
  return "velmora import --index " + file.string() + " ROWS.jsonl";
}

}  // namespace

std::string making_command(const fs::path& file) {
  const std::string repository = repository_of(file).string();
  return repository.empty() ? import_command(file) : "velmora index " + repository;
}

NoIndexError no_index(const fs::path& file) {
  return NoIndexError("There is no index at " + file.string() +
                      ". Make one with: " + making_command(file));
}

std::string remaking_advice(const fs::path& file) {
  const std::string repository = repository_of(file).string();
  if (!repository.empty()) return "Make it anew with: velmora index --rebuild " + repository;
  return "Remove the file and make it anew with: " + import_command(file);
}

UnusableIndexError damaged(const fs::path& file) {
  return {"The index at " + file.string() + " is damaged", remaking_advice(file)};
}

bool is_damage(const storage::DatabaseError& error) {
  return error.code() == SQLITE_CORRUPT || error.code() == SQLITE_NOTADB ||
         error.extended_code() == SQLITE_IOERR_DATA;
}

void throw_as_index_error(const storage::DatabaseError& error, const fs::path& file) {
  const std::string index = "The index at " + file.string();
  if (is_damage(error)) throw damaged(file);
  if (error.code() == SQLITE_BUSY) {
    throw BusyIndexError(index + " is being written by another program. Try again when it is done");
  }
  throw IndexError(index + " cannot be used: " + error.what() +
                   ". If its disk and its permissions are in order: " + remaking_advice(file));
}

}  // namespace velmora::host::index
