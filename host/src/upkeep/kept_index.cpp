#include "upkeep/kept_index.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <thread>
#include <utility>

#include "index/index_errors.h"
#include "indexing/folder_watch.h"
#include "upkeep/bring_up_to_date.h"
#include "upkeep/index_place.h"
#include "upkeep/make_index.h"
#include "velmora/host/index/writer_lock.h"
#include "velmora/logging.h"

namespace velmora::host::upkeep {
namespace {

namespace fs = std::filesystem;
using index::WriterLock;
using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

constexpr logging::Logger LOGGER("velmora.host.upkeep");

// A change is followed by others: a round begins when there was none for so long, but not later
// than that.
constexpr milliseconds QUIET{100};
constexpr milliseconds LONGEST{1000};
// How often a lock is tried that another process holds while it makes the index, or brings it up to
// date.
constexpr milliseconds TRY_AGAIN{100};
// How often somebody who waits is told how far it is.
constexpr milliseconds MEANWHILE{250};

// The index is no longer kept.
struct Stopped {};

// Wakes a thread that waits for descriptors.
class Bell {
 public:
  Bell() : descriptor_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (descriptor_ < 0) throw std::system_error(errno, std::generic_category(), "no eventfd");
  }
  Bell(const Bell&) = delete;
  ~Bell() { ::close(descriptor_); }

  [[nodiscard]] int descriptor() const { return descriptor_; }
  void ring() const {
    const std::uint64_t one = 1;
    static_cast<void>(::write(descriptor_, &one, sizeof one));
  }
  void silence() const {
    std::uint64_t count = 0;
    static_cast<void>(::read(descriptor_, &count, sizeof count));
  }
  // Until it rings; negative: however long that takes.
  void wait(milliseconds longest) const {
    pollfd ready{descriptor_, POLLIN, 0};
    static_cast<void>(::poll(&ready, 1, static_cast<int>(longest.count())));
  }

 private:
  const int descriptor_;
};

// Counts for as long as it lives.
class Counted {
 public:
  explicit Counted(std::atomic<int>& count) : count_(count) { ++count_; }
  Counted(const Counted&) = delete;
  ~Counted() { --count_; }

 private:
  std::atomic<int>& count_;
};

// What this process holds while it watches for all.
struct Watcher {
  Watcher(WriterLock taken, const fs::path& root, int wake)
      : lock(std::move(taken)), folders(root, wake) {}

  const WriterLock lock;
  indexing::FolderWatch folders;
};

}  // namespace

class KeptIndex::Impl {
 public:
  Impl(fs::path root, KeptOptions options)
      : root_(std::move(root)),
        file_(index_of_repository(root_)),
        options_(std::move(options)),
        thread_([this] { run(); }) {}

  ~Impl() {
    stop_ = true;
    bell_.ring();
    thread_.join();
  }

  KeptState wait(milliseconds longest, const Meanwhile& meanwhile) {
    const Clock::time_point end = Clock::now() + longest;
    const Counted waiting(waiting_);
    std::unique_lock lock(mutex_);
    const std::uint64_t question = ++asked_;
    bell_.ring();
    while (true) {
      const Clock::time_point until = meanwhile ? std::min(end, Clock::now() + MEANWHILE) : end;
      if (round_over_.wait_until(lock, until, [&] { return settled_ >= question; })) {
        return {.index = index_, .note = note_};
      }
      KeptState state{
          .index = index_, .note = is_busy_ ? note_ : progress_note(), .is_under_way = true};
      if (until == end) return state;
      lock.unlock();
      if (!meanwhile(state.note)) return state;
      lock.lock();
    }
  }

 private:
  void run() {
    bool changed = true;
    while (!stop_) {
      std::uint64_t questions = 0;
      {
        const std::lock_guard lock(mutex_);
        questions = asked_;
      }
      try {
        if (changed || !is_settled_ || !fs::exists(file_)) look_after();
        if (is_busy_ && waiting_ > 0) {
          bell_.wait(TRY_AGAIN);
          bell_.silence();
          changed = true;
          continue;
        }
        end_round(questions);
        changed = wait_for_change();
      } catch (const Stopped&) {
        return;
      } catch (const std::exception& error) {
        LOGGER.log(logging::Level::warning, [&] { return root_.string() + ": " + error.what(); });
        watcher_.reset();
        tell(error.what(), Standing::failed);
        end_round(questions);
        wait_for_question();
        changed = true;
      }
    }
  }

  void look_after() {
    if (refused_) return;
    if (!is_there()) make();
    if (!index_) {
      auto index = index::Index::open(file_);
      const std::lock_guard lock(mutex_);
      index_ = std::move(index);
    }
    // Watched before they are read: what changes in between makes another round.
    if (watcher_) watcher_->folders.watch_folders();
    UpkeepReport report = bring();
    if (!watcher_ && is_ours(report.standing) && begin_watch()) report = bring();
    tell(note(report, root_), report.standing);
  }

  // Whether there is an index that this program can use.
  [[nodiscard]] bool is_there() const {
    if (index_) return fs::exists(file_);
    try {
      return index::Index::find(file_) != nullptr;
    } catch (const index::UnusableIndexError&) {
      return false;
    }
  }

  static bool is_ours(Standing standing) {
    return standing != Standing::not_ours && standing != Standing::read_only;
  }

  void make() {
    watcher_.reset();  // what it locked went with the index
    try {
      static_cast<void>(
          make_index(root_, {.consent = options_.consent,
                             .model = options_.model ? options_.model() : nullptr,
                             .lock = [this](const fs::path& index) { return wait_for_lock(index); },
                             .progress = [this](const auto& now) { show(now); },
                             .tell =
                                 [](const std::string& sentence) {
                                   LOGGER.log(logging::Level::warning, [&] { return sentence; });
                                 }}));
    } catch (const ConsentError&) {
      refused_ = true;  // to ask again would take as long again
      throw;
    }
  }

  UpkeepReport bring() {
    return bring_up_to_date(root_, *index_,
                            {.budget = NO_BUDGET,
                             .model = options_.model,
                             .progress = [this](const auto& now) { show(now); }});
  }

  // Whether this process watches from now on.
  bool begin_watch() {
    try {
      std::optional<WriterLock> lock = WriterLock::try_take(watch_lock_of(file_));
      if (!lock) return false;
      watcher_ = std::make_unique<Watcher>(std::move(*lock), root_, bell_.descriptor());
      watcher_->folders.watch_folders();
      return true;
    } catch (const std::runtime_error& error) {
      // Then the files are looked at when somebody asks.
      LOGGER.log(logging::Level::warning, [&] { return std::string(error.what()); });
      watcher_.reset();
      return false;
    }
  }

  WriterLock wait_for_lock(const fs::path& index) {
    while (true) {
      if (auto lock = WriterLock::try_take(writer_lock_of(index))) return std::move(*lock);
      bell_.wait(TRY_AGAIN);
      bell_.silence();
      if (stop_) throw Stopped();
    }
  }

  // Called before each file.
  void show(const indexing::RefreshProgress& progress) {
    if (stop_) throw Stopped();
    const std::lock_guard lock(mutex_);
    progress_ = progress;
  }

  [[nodiscard]] std::string progress_note() const {
    std::string text = index_ ? "The index is being brought up to date" : "The index is being made";
    if (progress_.file_count == 0) return text;
    return text + ": " + std::to_string(progress_.files_done) + " of " +
           std::to_string(progress_.file_count) + " files so far";
  }

  void tell(std::string note, Standing standing) {
    const std::lock_guard lock(mutex_);
    note_ = std::move(note);
    is_busy_ = standing == Standing::busy;
    is_settled_ = !is_busy_ && standing != Standing::failed;
  }

  void end_round(std::uint64_t questions) {
    {
      const std::lock_guard lock(mutex_);
      settled_ = questions;
      progress_ = {};
    }
    round_over_.notify_all();
  }

  // Sleeps until a file changes, or somebody asks. Whether a file may have changed.
  bool wait_for_change() {
    if (!watcher_) {
      wait_for_question();
      return true;
    }
    bool changed = false;
    if (!is_asked()) changed = watcher_->folders.wait(QUIET, LONGEST);
    bell_.silence();
    return watcher_->folders.take_change() || changed;
  }

  void wait_for_question() {
    if (!is_asked()) bell_.wait(milliseconds(-1));
    bell_.silence();
  }

  // Whether a question came since the round began.
  bool is_asked() {
    const std::lock_guard lock(mutex_);
    return asked_ > settled_;
  }

  const fs::path root_;
  const fs::path file_;
  const KeptOptions options_;
  const Bell bell_;
  std::atomic<bool> stop_ = false;
  std::atomic<int> waiting_ = 0;  // questions that wait now

  // The thread's own.
  std::unique_ptr<Watcher> watcher_;
  bool is_settled_ = false;  // nothing is left to do until a file changes
  bool refused_ = false;

  std::mutex mutex_;
  std::condition_variable round_over_;
  std::uint64_t asked_ = 0;
  std::uint64_t settled_ = 0;  // so many of them
  std::string note_;
  bool is_busy_ = false;  // another process brings the index up to date; written by the thread
  indexing::RefreshProgress progress_;
  std::shared_ptr<index::Index> index_;  // written by the thread, once

  std::thread thread_;  // last: it uses all of them
};

KeptIndex::KeptIndex(fs::path root, KeptOptions options)
    : impl_(std::make_unique<Impl>(std::move(root), std::move(options))) {}
KeptIndex::~KeptIndex() = default;

KeptState KeptIndex::wait(milliseconds longest, const Meanwhile& meanwhile) {
  return impl_->wait(longest, meanwhile);
}

}  // namespace velmora::host::upkeep
