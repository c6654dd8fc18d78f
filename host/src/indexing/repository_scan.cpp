#include "velmora/host/indexing/repository_scan.h"

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <fstream>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "indexing/header_language.h"
#include "indexing/language.h"

namespace velmora::host::indexing {
namespace {

namespace fs = std::filesystem;

// How many files each thread may be ahead of the reader.
constexpr std::size_t FILES_AHEAD = 64;

// The file's content; throws ExtractError for a file that is not to be indexed.
std::string read_source(const fs::path& file, std::uintmax_t largest) {
  std::error_code error;
  const fs::file_status status = fs::symlink_status(file, error);
  if (status.type() == fs::file_type::not_found) throw ExtractError("it is gone");
  if (error) throw ExtractError("it cannot be read");
  if (status.type() == fs::file_type::symlink) throw ExtractError("it is a link");
  if (status.type() != fs::file_type::regular) throw ExtractError("it is not a file");
  const std::uintmax_t size = fs::file_size(file, error);
  if (error) throw ExtractError("it cannot be read");
  if (size > largest) {
    throw ExtractError("it is larger than " + std::to_string(largest) + " bytes");
  }
  std::string content(size, '\0');
  std::ifstream stream(file, std::ios::binary);
  stream.read(content.data(), static_cast<std::streamsize>(size));
  if (!stream) throw ExtractError("it cannot be read");
  if (content.find('\0') != std::string::npos) throw ExtractError("it is binary");
  return content;
}

struct Outcome {
  bool done = false;
  std::vector<index::Symbol> symbols;
  std::string skipped;       // the reason, empty when the file was read
  std::exception_ptr error;  // a fault that ends the scan
};

}  // namespace

class RepositoryScan::Impl {
 public:
  Impl(const fs::path& root, const ScanOptions& options) : root_(root), options_(options) {
    FileList list = list_files(root);
    files_ = std::move(list.files);
    skipped_ = std::move(list.skipped);
    std::erase_if(files_, [](const std::string& file) { return language_of(file) == nullptr; });
    headers_.emplace(files_);
    outcomes_.resize(files_.size());
    unsigned threads = options.threads;
    if (threads == 0) threads = std::max(1U, std::thread::hardware_concurrency());
    ahead_ = FILES_AHEAD * threads;
    for (unsigned i = 0; i < threads; ++i) {
      threads_.emplace_back([this](const std::stop_token& stop) { work(stop); });
    }
  }

  std::optional<index::Symbol> next() {
    while (place_ == symbols_.size()) {
      if (reading_ == files_.size()) {
        std::ranges::stable_sort(skipped_, {}, &Skipped::path);
        done_ = files_.size();
        return std::nullopt;
      }
      done_ = reading_;
      Outcome outcome = take(reading_);
      if (outcome.error) std::rethrow_exception(outcome.error);
      if (!outcome.skipped.empty()) skipped_.push_back({files_[reading_], outcome.skipped, false});
      ++reading_;
      symbols_ = std::move(outcome.symbols);
      place_ = 0;
    }
    return std::move(symbols_[place_++]);
  }

  std::size_t file_count() const { return files_.size(); }
  std::size_t files_done() const { return done_; }
  const std::vector<Skipped>& skipped() const { return skipped_; }

 private:
  Outcome take(std::size_t file) {
    std::unique_lock lock(mutex_);
    wanted_ = file;
    changed_.notify_all();
    changed_.wait(lock, [&] { return outcomes_[file].done; });
    return std::move(outcomes_[file]);
  }

  void work(const std::stop_token& stop) {
    while (true) {
      std::size_t file = 0;
      {
        std::unique_lock lock(mutex_);
        const bool more = changed_.wait(
            lock, stop, [&] { return started_ == files_.size() || started_ < wanted_ + ahead_; });
        if (!more || started_ == files_.size()) return;
        file = started_++;
      }
      Outcome outcome = read(files_[file]);
      {
        const std::lock_guard lock(mutex_);
        outcomes_[file] = std::move(outcome);
        outcomes_[file].done = true;
      }
      changed_.notify_all();
    }
  }

  Outcome read(const std::string& file) const {
    Outcome outcome;
    try {
      const std::string source = read_source(root_ / file, options_.largest_file);
      const std::string_view language =
          file.ends_with(".h") ? headers_->decide(file, source) : language_of(file)->name;
      outcome.symbols = extract_symbols(language, file, source, options_.extract);
    } catch (const ExtractError& reason) {
      outcome.skipped = reason.what();
    } catch (...) {
      outcome.error = std::current_exception();
    }
    return outcome;
  }

  const fs::path root_;
  const ScanOptions options_;
  std::vector<std::string> files_;
  std::optional<HeaderLanguage> headers_;
  std::size_t ahead_ = 0;

  // The reader's own.
  std::vector<Skipped> skipped_;
  std::vector<index::Symbol> symbols_;
  std::size_t place_ = 0;
  std::size_t reading_ = 0;
  std::size_t done_ = 0;

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

std::optional<index::Symbol> RepositoryScan::next() { return impl_->next(); }
std::size_t RepositoryScan::file_count() const { return impl_->file_count(); }
std::size_t RepositoryScan::files_done() const { return impl_->files_done(); }
const std::vector<Skipped>& RepositoryScan::skipped() const { return impl_->skipped(); }

}  // namespace velmora::host::indexing
