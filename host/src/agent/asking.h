// What a call of a tool is answered from, and how long it may wait.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "agent/arguments.h"
#include "agent/repositories.h"
#include "browse/limited_text.h"
#include "browse/lookup.h"
#include "index/catalog.h"
#include "upkeep/kept_index.h"
#include "velmora/host/index/index.h"

namespace velmora::host::agent {

// The client takes no answer to the call any more.
struct CallEnded {};

struct Asking {
  Repositories& repositories;
  std::chrono::milliseconds longest_wait;  // for an index that is behind
  // Whether nobody wants the answer any more, and what is told while the call waits; or empty.
  std::function<bool()> has_ended = {};
  std::function<void(const std::string& note)> tell = {};
};

// A repository with an index that can be asked.
struct Ready {
  Repository& repository;
  std::shared_ptr<index::Index> index;

  [[nodiscard]] browse::Viewpoint viewpoint() const { return {.root = repository.root()}; }
};

// Waits for the repository that the arguments mean, at most as long as may be. Throws CallEnded.
[[nodiscard]] upkeep::KeptState state_of(Repository& repository, const Asking& asking);

// What `answer` says of that repository in `most` characters, below what is to be said of the
// state of its index; within max_characters in all. Throws ToolError while there is no index.
[[nodiscard]] std::string with_index(
    const Arguments& arguments, const Asking& asking,
    const std::function<std::string(const Ready& ready, std::size_t most)>& answer);

// The one place that the index has at `path`; "" is the root. Throws ToolError when the path is
// outside, when there is nothing, or when several files are meant.
[[nodiscard]] std::string place_at(const index::Catalog& catalog, const std::string& path,
                                   const browse::Viewpoint& from);

// Whether `path` leads out of the repository at `root`.
[[nodiscard]] bool is_outside(std::string_view path, const std::filesystem::path& root);

// What `render` makes of all `count` entries, or of as many of the first as fit; what it makes of
// none if even that is too long, cut. It has to say itself how many it leaves out.
[[nodiscard]] std::string fitted(std::size_t count, std::size_t most,
                                 const std::function<std::string(std::size_t shown)>& render);

// All lines of a text, or as many as leave room for a last one, which `rest` makes of how many are
// left out.
[[nodiscard]] std::string fitted_lines(
    std::size_t most, const std::function<browse::LimitedText(std::size_t most)>& write,
    const std::function<std::string(std::size_t left_out)>& rest);

}  // namespace velmora::host::agent
