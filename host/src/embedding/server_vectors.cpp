#include "velmora/host/embedding/server_vectors.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "embedding/embedding_client.h"
#include "velmora/host/embedding/symbol_text.h"
#include "velmora/logging.h"

namespace velmora::host::embedding {
namespace {

using http::HttpError;
using std::chrono::milliseconds;

constexpr logging::Logger LOGGER("velmora.host.embedding");
constexpr std::int64_t UNUSED_KEPT = 20'000;
// So many characters of code and prose are some 400 tokens: models with the least room take 512.
constexpr std::int64_t TEXT_LENGTH = 1500;

// A text, as the symbols that have it.
struct Text {
  index::TextKey key = {};
  std::vector<index::SymbolId> symbols;
};

// The stop was requested.
struct Stopped {};

// The text with "***" in place of each `secret`; empty when the secret is in it even so.
std::string masked(std::string_view text, std::string_view secret) {
  if (secret.empty()) return std::string(text);
  std::string out;
  std::size_t at = 0;
  for (std::size_t found; (found = text.find(secret, at)) != text.npos;
       at = found + secret.size()) {
    out.append(text.substr(at, found - at)).append("***");
  }
  out.append(text.substr(at));
  return out.find(secret) == out.npos ? out : std::string();
}

// What the server itself says about its refusal, without the key; empty when it says nothing that
// can be understood.
std::string explanation(const HttpError& error, const std::string& api_key) {
  constexpr std::size_t LONGEST = 200;
  const nlohmann::json answer = nlohmann::json::parse(error.answer(), nullptr, false);
  const nlohmann::json* at = &answer;
  for (const char* field : {"error", "message"}) {
    if (at->is_object() && at->contains(field)) at = &at->at(field);
  }
  if (!at->is_string()) return {};
  const std::string text = masked(at->get_ref<const std::string&>(), api_key);
  return text.empty() ? "" : ": " + text.substr(0, std::min(text.find('\n'), LONGEST));
}

std::string advice(const HttpError& error, const ServerEmbedOptions& options) {
  switch (error.cause()) {
    case HttpError::Cause::late:
      return "Use smaller batches, or give it more time";
    case HttpError::Cause::lost:
      return "See what the server's own log says";
    case HttpError::Cause::unreachable:
    case HttpError::Cause::other:
      return "Check that the server runs and that its URL is right";
    case HttpError::Cause::answer:
      break;
  }
  switch (error.status()) {
    case 0:
      return "Check that " + options.model + " is an embedding model of this server";
    case 401:
    case 403:
      return "Put a key that it takes into VELMORA_EMBEDDINGS_API_KEY";
    case 404:
      return "Check the URL, to which /embeddings is appended, and the model's name " +
             options.model;
    case 400:
    case 413:
    case 422:
      return "Check the model's name " + options.model +
             "; if texts are too long for it, embed fewer characters of each";
    case 429:
      return "Try again later, or with fewer requests at a time";
    default:
      return "See what the server's own log says";
  }
}

class Run {
 public:
  Run(index::Index& index, const ServerEmbedOptions& options)
      : index_(index),
        options_(options),
        client_({.url = options.url,
                 .model = options.model,
                 .api_key = options.api_key,
                 .deadline = options.deadline}) {}

  ServerEmbedReport run() {
    if (options_.anew) {
      on_threads(1, [this](const std::stop_token& stop) {
        static_cast<void>(ask(std::vector<std::string>{"ready"}, stop));
      });
    }
    find_texts();
    const std::int64_t before = done_;
    const std::size_t batches = (texts_.size() + options_.batch_size - 1) / options_.batch_size;
    on_threads(std::min<std::size_t>(options_.parallel, batches),
               [this](const std::stop_token& stop) {
                 while (embed_batch(stop)) {
                 }
               });
    write({}, [&](index::TextVectors& vectors) {
      vectors.drop_unused(options_.model, std::max(UNUSED_KEPT, total_));
    });
    return {.symbols = total_, .given = given_ + done_ - before, .texts = asked_};
  }

 private:
  void write(const std::stop_token& stop, const std::function<void(index::TextVectors&)>& change) {
    std::optional<index::WriterLock> lock;
    if (options_.lock) lock.emplace(options_.lock(stop));
    index_.update_vectors(change);
  }

  [[nodiscard]] index::TextModel model_of(const index::TextVectors& vectors) const {
    index::TextModel model{.name = options_.model, .prefix = {}, .text_length = TEXT_LENGTH};
    for (const index::TextModel& known : vectors.models()) {
      if (known.name == model.name) model = known;
    }
    if (options_.prefix) model.prefix = *options_.prefix;
    if (options_.text_length) model.text_length = *options_.text_length;
    return model;
  }

  // Gives the symbols what is known, and lists the texts that are not.
  void find_texts() {
    index::TextVectors::Links links;
    write({}, [&](index::TextVectors& vectors) {
      if (options_.anew) vectors.forget(options_.model);
      model_ = model_of(vectors);
      key_of_ = symbol_keys(model_);
      vectors.set_model(model_, options_.half_precision);
      links = vectors.link(options_.model, key_of_);
    });
    std::map<index::TextKey, std::size_t> places;
    for (const auto& [symbol, key] : links.missing) {
      const auto [place, is_new] = places.try_emplace(key, texts_.size());
      if (is_new) texts_.push_back({.key = key, .symbols = {}});
      texts_[place->second].symbols.push_back(symbol);
    }
    given_ = links.linked;
    total_ = links.symbols;
    done_ = total_ - static_cast<std::int64_t>(links.missing.size());
  }

  using Work = std::function<void(const std::stop_token&)>;

  // Runs `work` on so many threads until it is done, one fails or the caller wants no more.
  void on_threads(std::size_t count, const Work& work) {
    std::stop_source stop;
    {
      std::vector<std::jthread> threads;
      running_ = count;
      try {
        while (threads.size() < count) {
          threads.emplace_back([&] { run_on_thread(work, stop); });
        }
        wait_for_threads();
      } catch (...) {
        stop.request_stop();
        throw;
      }
    }
    if (failure_) fail();
  }

  void wait_for_threads() {
    std::unique_lock guard(lock_);
    while (running_ > 0) {
      ended_.wait_for(guard, milliseconds(100), [this] { return running_ == 0; });
      const ServerEmbedProgress progress{.done = done_, .total = total_};
      guard.unlock();
      if (options_.progress) options_.progress(progress);
      guard.lock();
    }
  }

  void run_on_thread(const Work& work, std::stop_source& stop) {
    std::exception_ptr failure;
    try {
      work(stop.get_token());
    } catch (const Stopped&) {
      // Whoever wanted it tells why.
    } catch (...) {
      failure = std::current_exception();
    }
    const std::lock_guard guard(lock_);
    // The first failure stops the others, whose own ends are of no interest.
    if (failure && !stop.stop_requested()) failure_ = failure;
    if (failure) stop.request_stop();
    --running_;
    ended_.notify_all();
  }

  // False when no batch is left.
  bool embed_batch(const std::stop_token& stop) {
    if (stop.stop_requested()) throw Stopped();
    std::span<const Text> batch;
    {
      const std::lock_guard guard(lock_);
      const std::size_t size = std::min(options_.batch_size, texts_.size() - next_);
      batch = std::span(texts_).subspan(next_, size);
      next_ += size;
    }
    if (batch.empty()) return false;
    std::vector<const Text*> asked;
    std::vector<std::string> texts;
    for (const Text& text : batch) {
      if (std::optional<std::string> content = content_of(text)) {
        asked.push_back(&text);
        texts.push_back(*std::move(content));
      }
    }
    if (asked.empty()) return true;
    store(asked, ask(texts, stop), stop);
    return true;
  }

  // Nothing when no symbol has the text any more.
  std::optional<std::string> content_of(const Text& text) {
    std::optional<std::string> content;
    for (const index::SymbolId id : text.symbols) {
      index_.read_symbol(id, [&](const storage::SymbolRow& symbol) {
        std::string now = symbol_text(symbol, model_);
        if (text_key(now) == text.key) content = std::move(now);
      });
      if (content) break;
    }
    return content;
  }

  Vectors ask(const std::vector<std::string>& texts, const std::stop_token& stop) {
    for (int tried = 1;; ++tried) {
      try {
        Vectors vectors = client_.embed(texts, stop);
        was_reached_ = true;
        return vectors;
      } catch (const HttpError& error) {
        if (stop.stop_requested()) throw Stopped();
        if (error.cause() == HttpError::Cause::answer) was_reached_ = true;
        if (!is_worth_another_try(error) || tried >= options_.retry.tries) throw;
        pause(error, tried, stop);
      }
    }
  }

  [[nodiscard]] bool is_worth_another_try(const HttpError& error) const {
    switch (error.cause()) {
      case HttpError::Cause::lost:
        return true;
      case HttpError::Cause::unreachable:
        return was_reached_;  // it may be starting anew; before, the URL may be wrong
      default:
        return error.may_pass();
    }
  }

  void pause(const HttpError& error, int tried, const std::stop_token& stop) const {
    const RetrySettings& retry = options_.retry;
    milliseconds pause = retry.first_pause;
    for (int i = 1; i < tried && pause < retry.longest_pause; ++i) pause *= 2;
    pause = std::min(pause, retry.longest_pause);
    if (error.retry_after() > retry.longest_demanded) {
      throw std::runtime_error(std::string(error.what()) + " and wants to be left alone for " +
                               std::to_string(error.retry_after().count()) +
                               " seconds. Try again then");
    }
    pause = std::max<milliseconds>(pause, error.retry_after());
    LOGGER.log(logging::Level::info, [&] {
      return std::string(error.what()) + "; asking again in " + std::to_string(pause.count()) +
             " ms";
    });
    if (!retry.wait(pause, stop)) throw Stopped();
  }

  void store(const std::vector<const Text*>& texts, const Vectors& vectors,
             const std::stop_token& stop) {
    // One at a time, so that the threads of this process do not wait for each other in the file.
    const std::lock_guard one_writer(writing_);
    std::int64_t stored = 0;
    write(stop, [&](index::TextVectors& known) {
      for (std::size_t i = 0; i < texts.size(); ++i) {
        const Text& text = *texts[i];
        try {
          known.add(options_.model, text.key, vectors[i], text.symbols, key_of_);
        } catch (const std::invalid_argument& error) {
          throw std::runtime_error("The embedding server sent " + std::string(error.what()) +
                                   ". If another model stands behind the name " + options_.model +
                                   " now, embed all anew with --anew");
        }
        stored += static_cast<std::int64_t>(text.symbols.size());
      }
    });
    const std::lock_guard guard(lock_);
    done_ += stored;
    asked_ += static_cast<std::int64_t>(texts.size());
  }

  [[nodiscard]] std::string told(const HttpError& error) const {
    return error.what() + explanation(error, options_.api_key) + ". " + advice(error, options_);
  }

  [[noreturn]] void fail() const {
    const std::string kept =
        total_ == 0 ? ""
                    : ". " + std::to_string(done_) + " of " + std::to_string(total_) +
                          " symbols have their vector; the same command goes on from there";
    try {
      std::rethrow_exception(failure_);
    } catch (const HttpError& error) {
      throw std::runtime_error(told(error) + kept);
    } catch (const std::exception& error) {
      throw std::runtime_error(error.what() + kept);
    }
  }

  index::Index& index_;
  const ServerEmbedOptions& options_;
  EmbeddingClient client_;
  index::TextModel model_;
  index::KeyOf key_of_;
  std::vector<Text> texts_;
  std::int64_t total_ = 0;
  std::int64_t given_ = 0;  // before the server was asked
  std::atomic<bool> was_reached_ = false;
  std::mutex writing_;

  std::mutex lock_;  // of what follows
  std::condition_variable ended_;
  std::size_t next_ = 0;  // of the texts
  std::size_t running_ = 0;
  std::int64_t done_ = 0;
  std::int64_t asked_ = 0;
  std::exception_ptr failure_;
};

}  // namespace

bool wait_for(milliseconds time, const std::stop_token& stop) {
  std::mutex lock;
  std::condition_variable_any never;
  std::unique_lock guard(lock);
  never.wait_for(guard, stop, time, [] { return false; });
  return !stop.stop_requested();
}

ServerEmbedReport embed_with_server(index::Index& index, const ServerEmbedOptions& options) {
  return Run(index, options).run();
}

}  // namespace velmora::host::embedding
