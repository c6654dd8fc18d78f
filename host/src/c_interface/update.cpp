// velmora_index_update.
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>

#include "c_interface/arguments.h"
#include "c_interface/callback.h"
#include "c_interface/message.h"
#include "embedding/index_model.h"
#include "index/index_errors.h"
#include "upkeep/index_place.h"
#include "upkeep/make_index.h"
#include "upkeep/wait_for_lock.h"
#include "velmora/logging.h"

namespace velmora::host::c_interface {
namespace {

namespace fs = std::filesystem;

constexpr logging::Logger LOGGER("velmora.host.update");

void tell(const std::string& sentence) {
  LOGGER.log(logging::Level::warning, [&] { return sentence; });
}

// Where the folder is, whatever becomes of the working folder meanwhile. One that is not there is
// for others to refuse.
fs::path real_path(const fs::path& folder) {
  std::error_code missing;
  fs::path real = fs::canonical(folder, missing);
  return missing ? fs::absolute(folder) : real;
}

// Reports to the host, which may want to stop.
void report(const velmora_update_options& options, const velmora_progress& now) {
  if (options.progress == nullptr) return;
  message().clear();
  const velmora_code code = options.progress(options.self, &now);
  if (code == VELMORA_OK) return;
  throw CallbackStop{code, message().empty() ? "The progress callback wanted it" : message()};
}

index::WriterLock wait(const fs::path& index, const velmora_update_options& options) {
  return upkeep::wait_for_lock(upkeep::writer_lock_of(index), [&](const std::string& holder) {
    if (options.no_wait) {
      throw index::BusyIndexError("The index is being brought up to date by " + holder +
                                  ". Try again when it has ended");
    }
    velmora_progress now = VELMORA_INIT(velmora_progress);
    now.waiting_for = string_of(holder);
    report(options, now);
  });
}

velmora_progress progress_of(const indexing::RefreshProgress& now) {
  velmora_progress progress = VELMORA_INIT(velmora_progress);
  progress.files_done = now.files_done;
  progress.files = now.file_count;
  progress.symbols = static_cast<int64_t>(now.symbols);
  progress.embedded = now.embedded;
  progress.to_embed = now.to_embed;
  return progress;
}

indexing::RefreshReport update(const fs::path& folder, const velmora_update_options& options) {
  const fs::path file = upkeep::index_of_repository(folder);
  upkeep::MakeOptions make{
      .retry = options.retry, .rebuild = options.rebuild, .consent = options.consent};
  if (options.largest_file > 0) make.largest_file = options.largest_file;
  const std::optional<fs::path> model = optional_path(options.model, "options->model");
  if (!options.without_model) make.model = embedding::indexing_model(model, file, tell);
  make.lock = [&](const fs::path& index) { return wait(index, options); };
  make.progress = [&](const indexing::RefreshProgress& now) { report(options, progress_of(now)); };
  make.tell = tell;
  return upkeep::make_index(folder, make);
}

velmora_update_report report_of(const indexing::RefreshReport& done) {
  velmora_update_report report = VELMORA_INIT(velmora_update_report);
  report.files = done.indexed();
  report.added = done.added;
  report.changed = done.changed;
  report.removed = done.removed;
  report.unchanged = done.unchanged;
  report.skipped = done.skipped.size();
  report.symbols = done.symbols;
  report.embedded = done.embedded;
  return report;
}

}  // namespace
}  // namespace velmora::host::c_interface

namespace c_interface = velmora::host::c_interface;

velmora_code velmora_index_update(velmora_string folder, const velmora_update_options* given,
                                  velmora_update_report* report) noexcept {
  return c_interface::guarded([&] {
    const auto path = c_interface::real_path(c_interface::required_path(folder, "folder"));
    const velmora_update_options options = c_interface::taken(given, "options");
    if (report != nullptr) static_cast<void>(c_interface::size_of(report, "report"));
    const auto done = c_interface::update(path, options);
    if (report != nullptr) {
      c_interface::hand_out(c_interface::report_of(done), report, "report");
    }
    if (options.skipped == nullptr) return;
    for (const auto& [name, reason, is_folder] : done.skipped) {
      c_interface::call("skipped", options.skipped, options.self, c_interface::string_of(name),
                        c_interface::string_of(reason), is_folder);
    }
  });
}
