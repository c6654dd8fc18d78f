#include "velmora/host/indexing/repository_scan.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "indexing/parse_worker.h"
#include "indexing/source_file.h"
#include "indexing/source_list.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// How many files each thread may be ahead of the reader.
constexpr std::size_t FILES_AHEAD = 64;

struct Outcome {
  bool done = false;
  std::optional<ScannedFile> scanned;  // nothing when the file is gone
  std::exception_ptr error;            // a fault that ends the scan
};

}  // namespace

class RepositoryScan::Impl {
 public:
  Impl(const fs::path& root, const ScanOptions& options)
      : root_(root), options_(options), sources_(root, options.most_files, options.rules) {
    if (options.retry && options.known != nullptr) {
      // What is not known is read.
      retried_ = *options.known;
      std::erase_if(retried_,
                    [](const auto& file) { return is_parse_verdict(file.second.skipped); });
      options_.known = &retried_;
    }
    outcomes_.resize(files().size());
    unsigned threads = options.threads;
    if (threads == 0) threads = std::max(1U, std::thread::hardware_concurrency());
    ahead_ = FILES_AHEAD * threads;
    for (unsigned i = 0; i < threads; ++i) {
      threads_.emplace_back([this](const std::stop_token& stop) { work(stop); });
    }
  }

  std::optional<ScannedFile> next() {
    while (reading_ < files().size()) {
      Outcome outcome = take(reading_++);
      if (outcome.error) std::rethrow_exception(outcome.error);
      if (outcome.scanned) return std::move(outcome.scanned);
    }
    return std::nullopt;
  }

  std::size_t file_count() const { return files().size(); }
  std::size_t files_done() const { return reading_; }
  const std::vector<Skipped>& skipped() const { return sources_.skipped(); }
  const Ignored& ignored() const { return sources_.ignored(); }
  const std::map<std::string, std::size_t>& others() const { return sources_.others(); }

 private:
  const std::vector<std::string>& files() const { return sources_.files(); }

  Outcome take(std::size_t file) {
    std::unique_lock lock(mutex_);
    wanted_ = file;
    changed_.notify_all();
    changed_.wait(lock, [&] { return outcomes_[file].done; });
    return std::move(outcomes_[file]);
  }

  void work(const std::stop_token& stop) {
    ParseWorker worker(options_.parse_worker, options_.limits);
    while (true) {
      std::size_t file = 0;
      {
        std::unique_lock lock(mutex_);
        const bool more = changed_.wait(
            lock, stop, [&] { return started_ == files().size() || started_ < wanted_ + ahead_; });
        if (!more || started_ == files().size()) return;
        file = started_++;
      }
      Outcome outcome = read(files()[file], worker);
      {
        const std::lock_guard lock(mutex_);
        outcomes_[file] = std::move(outcome);
        outcomes_[file].done = true;
      }
      changed_.notify_all();
    }
  }

  Outcome read(const std::string& file, ParseWorker& worker) const {
    Outcome outcome;
    try {
      std::optional<LookedAt> looked =
          look_at(root_, file, sources_.expected_language(file), options_);
      if (looked) {
        parse(*looked, worker);
        outcome.scanned = std::move(looked->scanned);
      }
    } catch (...) {
      outcome.error = std::current_exception();
    }
    return outcome;
  }

  const fs::path root_;
  ScanOptions options_;
  std::map<std::string, index::FileRecord> retried_;  // the known ones but for these
  const SourceList sources_;
  std::size_t ahead_ = 0;

  std::size_t reading_ = 0;  // the reader's own

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::vector<Outcome> outcomes_;  // by file
  std::size_t started_ = 0;
  std::size_t wanted_ = 0;  // the file that the reader is at

  std::vector<std::jthread> threads_;  // last: they end before what they use
};

RepositoryScan::RepositoryScan(const fs::path& root, const ScanOptions& options)
    : impl_(std::make_unique<Impl>(root, options)) {}
RepositoryScan::~RepositoryScan() = default;

std::optional<ScannedFile> RepositoryScan::next() { return impl_->next(); }
std::size_t RepositoryScan::file_count() const { return impl_->file_count(); }
std::size_t RepositoryScan::files_done() const { return impl_->files_done(); }
const std::vector<Skipped>& RepositoryScan::skipped() const { return impl_->skipped(); }
const Ignored& RepositoryScan::ignored() const { return impl_->ignored(); }

const std::map<std::string, std::size_t>& RepositoryScan::others() const { return impl_->others(); }

}  // namespace velmora::host::indexing
