#include "upkeep/bring_up_to_date.h"

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <utility>

#include "settings/settings.h"
#include "upkeep/index_place.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/logging.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr logging::Logger LOGGER("velmora.host.upkeep");

// The refresh takes much longer than it was expected to.
struct OutOfTime {};

bool may_write(const fs::path& file) {
  return ::faccessat(AT_FDCWD, file.c_str(), W_OK, AT_EACCESS) == 0;
}

std::shared_ptr<const embedding::WordModel> model_for(const index::TreeState& tree,
                                                      const UpkeepOptions& options) {
  if (tree.own_model.empty() || !options.model) return nullptr;
  auto model = options.model();
  return model && model->name() == tree.own_model ? model : nullptr;
}

indexing::RefreshReport refresh_in_time(const fs::path& root, index::Index& index,
                                        const index::TreeState& tree,
                                        const indexing::SourceRules& rules,
                                        const UpkeepOptions& options) {
  const Clock::time_point start = Clock::now();
  indexing::RefreshOptions refresh{.rules = rules, .model = model_for(tree, options)};
  if (tree.largest_file > 0) refresh.largest_file = tree.largest_file;
  refresh.progress = [&](const indexing::RefreshProgress& now) {
    if (Clock::now() - start > 2 * options.budget) throw OutOfTime();
    if (options.progress) options.progress(now);
  };
  return indexing::refresh(root, index, refresh);
}

// REQUIRES: the index is ours.
UpkeepReport look_after(const fs::path& root, index::Index& index, const index::TreeState& tree,
                        const UpkeepOptions& options) {
  const indexing::SourceRules rules = settings::source_rules(root);
  UpkeepReport report{.staleness = staleness(root, tree, rules)};
  if (report.staleness.is_fresh()) return report;
  const fs::path file = index_of_repository(root);
  report.standing = Standing::behind;
  if (!may_write(file) || !may_write(file.parent_path())) {
    report.standing = Standing::read_only;
    return report;
  }
  if (report.staleness.time > options.budget) return report;
  const auto lock = index::WriterLock::try_take(writer_lock_of(file));
  if (!lock) {
    report.standing = Standing::busy;
    report.reason =
        "it is being brought up to date by " + index::WriterLock::holder(writer_lock_of(file));
    return report;
  }
  try {
    report.refreshed = refresh_in_time(root, index, tree, rules, options);
    report.standing = Standing::refreshed;
  } catch (const OutOfTime&) {
    report.reason = "it took longer than expected";
  }
  return report;
}

}  // namespace

UpkeepReport bring_up_to_date(const fs::path& root, index::Index& index,
                              const UpkeepOptions& options) {
  try {
    if (!index.made_here()) return {.standing = Standing::not_ours, .reason = not_made_here(root)};
    const index::TreeState tree = index.tree_state();
    if (tree.extraction.empty()) return {.standing = Standing::not_ours};
    UpkeepReport report = look_after(root, index, tree, options);
    LOGGER.log(logging::Level::info, [&] {
      const Staleness& found = report.staleness;
      return std::to_string(found.added) + " files added, " + std::to_string(found.changed) +
             " changed, " + std::to_string(found.removed) + " removed since; " +
             (report.standing == Standing::refreshed ? "brought the index up to date"
                                                     : "left the index as it is");
    });
    return report;
  } catch (const std::runtime_error& error) {
    return {.standing = Standing::failed, .reason = error.what()};
  }
}

std::string not_made_here(const fs::path& root) {
  return "The index at " + index_of_repository(root).string() +
         " was not made here by you, and says what its maker wanted. Make it anew with: velmora"
         " index " +
         root.string();
}

std::string note(const UpkeepReport& report, const fs::path& root) {
  const std::string stale = to_text(report.staleness);
  switch (report.standing) {
    case Standing::fresh:
    case Standing::refreshed:
      return "";
    case Standing::not_ours:
      return report.reason;
    case Standing::failed:
      return "The index could not be brought up to date: " + report.reason;
    case Standing::read_only:
      return stale.empty() ? "" : stale + ", and the index cannot be written here";
    case Standing::busy:
      return stale.empty() ? "" : stale + "; " + report.reason;
    case Standing::behind:
      break;
  }
  if (stale.empty()) return "";
  return stale + (report.reason.empty() ? "" : ", and " + report.reason) + "; velmora index " +
         root.string() + " brings it up to date";
}

}  // namespace velmora::host::upkeep
