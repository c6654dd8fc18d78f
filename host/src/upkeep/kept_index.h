// The index of one repository in a process that lives long: made in the background when it is
// missing, and kept up to date as the files change.
//
// A thread of its own does the work, and sleeps in the kernel while nothing changes and nobody
// asks. Of all processes of a user one watches the files, by the lock beside the index; the others
// look at the files when they are asked, and the first that is asked after the watcher has ended
// takes its place. All of them answer from the same index.
//
// Any thread may call; the destructor is called once, by one thread.
#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "velmora/host/embedding/word_model.h"
#include "velmora/host/index/index.h"

namespace velmora::host::upkeep {

struct KeptOptions {
  // Embeds the symbols of an index made here; as UpkeepOptions has it. Called on the thread.
  std::function<std::shared_ptr<const embedding::WordModel>()> model = {};
  bool consent = false;  // as MakeOptions has it
};

// What a question gets.
struct KeptState {
  std::shared_ptr<index::Index> index;  // null: there is none yet
  // What the answer should say, a sentence without a full stop: how far the making of the index is,
  // how stale it is, or what failed. Empty when it answers from the files as they are.
  std::string note;
  bool is_under_way = false;  // the note tells of work that goes on
};

// Is told what the note would be now; false ends the wait.
using Meanwhile = std::function<bool(const std::string& note)>;

class KeptIndex {
 public:
  // Starts the work and returns at once; `root` is a folder, absolute.
  explicit KeptIndex(std::filesystem::path root, KeptOptions options = {});
  KeptIndex(const KeptIndex&) = delete;
  KeptIndex& operator=(const KeptIndex&) = delete;

  // Ends the work: what is under way is given up at the next file, and the index is as it was.
  ~KeptIndex();

  // The index, once it shows every change that was made to the files before this call, or what
  // there is after `longest`. While it waits, `meanwhile` is called a few times a second.
  [[nodiscard]] KeptState wait(std::chrono::milliseconds longest, const Meanwhile& meanwhile = {});

 private:
  class Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace velmora::host::upkeep
