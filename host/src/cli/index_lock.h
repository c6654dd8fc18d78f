// Waits for the locks beside an index.
#pragma once

#include <filesystem>
#include <functional>

#include "velmora/host/index/writer_lock.h"

namespace velmora::host::cli {

// The lock of whoever brings `index` up to date, once its holder is done; who that is, is told on
// standard error. `check` is called while it waits; what it throws ends the wait. With `no_wait` it
// throws std::runtime_error at once, which tells who holds it.
[[nodiscard]] index::WriterLock take_index_lock(const std::filesystem::path& index, bool no_wait,
                                                const std::function<void()>& check);

// The same for whoever embeds the symbols of `index`, which may go on for hours and does not keep
// others from writing it.
[[nodiscard]] index::WriterLock take_embed_lock(const std::filesystem::path& index, bool no_wait,
                                                const std::function<void()>& check);

// The same for whoever watches the files of `index` for all processes of the user.
[[nodiscard]] index::WriterLock take_watch_lock(const std::filesystem::path& index, bool no_wait,
                                                const std::function<void()>& check);

}  // namespace velmora::host::cli
