// Brings an index up to date before a question, when that takes a moment only.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "upkeep/staleness.h"
#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/index.h"
#include "velmora/host/indexing/refresh.h"

namespace velmora::host::upkeep {

// How an index stands after it was looked after. The first two answer from the files as they are.
enum class Standing {
  fresh,      // nothing changed
  refreshed,  // brought up to date
  behind,     // that takes longer than the budget
  busy,       // somebody else is bringing it up to date
  read_only,  // this user may not write it
  not_ours,   // an import, or not made here by this user: what it says is left alone
  failed,     // with an error: it is as it was
};

struct UpkeepReport {
  Standing standing = Standing::fresh;
  Staleness staleness = {};  // as it was found; of an index that is not ours nothing is looked at
  // Who is busy, what failed, or who made it: part of a sentence.
  std::string reason = {};
  std::optional<indexing::RefreshReport> refreshed = {};
};

inline constexpr std::chrono::duration<double> NO_BUDGET{std::numeric_limits<double>::infinity()};

struct UpkeepOptions {
  // By the estimate. Where that was wrong the work is given up after twice the time.
  std::chrono::duration<double> budget = std::chrono::seconds(2);
  // The program's own model that the user chose, or null; asked for when something is to be
  // embedded. Another one than that which the index holds vectors of is not used: new symbols wait
  // for a refresh with the one that is meant.
  std::function<std::shared_ptr<const embedding::WordModel>()> model = {};
  // As indexing::RefreshOptions has it; what it throws reaches the caller.
  std::function<void(const indexing::RefreshProgress&)> progress = {};
};

// Looks at the files under `root`, of which `index` is the index, and brings it up to date as it
// was made: embedded as before, with the limits that its user gave then, else those of the settings
// as they are now, as with all that these say of sources; the vectors of servers' models stay.
// Waits for nobody. Errors are in the report, but for what the system throws when there is no
// memory.
[[nodiscard]] UpkeepReport bring_up_to_date(const std::filesystem::path& root, index::Index& index,
                                            const UpkeepOptions& options = {});

// That the index of `root` came from elsewhere, and what to do about it.
[[nodiscard]] std::string not_made_here(const std::filesystem::path& root);

// What an answer from the index should say about it, a sentence without a full stop: how stale it
// is and what brings it up to date, or that somebody else made it. Empty when it answers from the
// files as they are, and for an import.
[[nodiscard]] std::string note(const UpkeepReport& report, const std::filesystem::path& root);

}  // namespace velmora::host::upkeep
