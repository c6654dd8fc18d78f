// Embeds the symbols of an index with the model of a server.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <stop_token>
#include <string>

#include "velmora/export.h"
#include "velmora/host/index/index.h"
#include "velmora/host/index/writer_lock.h"

namespace velmora::host::embedding {

// Waits, and returns false when the stop was requested meanwhile.
[[nodiscard]] VELMORA_API bool wait_for(std::chrono::milliseconds time,
                                        const std::stop_token& stop);

// What is done about a server that is overloaded (429), has trouble of its own (5xx), does not
// answer in time or loses the connection.
struct RetrySettings {
  int tries = 8;                                        // of one request, at least 1
  std::chrono::milliseconds first_pause{500};           // twice as long each time
  std::chrono::milliseconds longest_pause{30'000};      // unless the server asks for more
  std::chrono::milliseconds longest_demanded{600'000};  // more is an error
  // How a pause is spent; false ends the work, as a requested stop does.
  std::function<bool(std::chrono::milliseconds, const std::stop_token&)> wait = wait_for;
};

// How far the work is, in symbols.
struct ServerEmbedProgress {
  std::int64_t done = 0;   // have the vector of their text
  std::int64_t total = 0;  // that can be embedded
};

// Which server embeds, what it is sent, and how.
struct ServerEmbedOptions {
  std::string url;           // http or https; "/embeddings" is appended
  std::string model;         // named in the request, and the model of the vectors
  std::string api_key = {};  // sent as a bearer token; empty: none
  // What is put before each text. Absent: as the index has it from an earlier time, else nothing.
  // Another choice, of the length too, embeds everything anew.
  std::optional<std::string> prefix = {};
  // The most characters of a text. Absent: as the index has it, else 1500.
  std::optional<std::int64_t> text_length = {};
  std::size_t batch_size = 64;  // texts of one request, at least 1
  unsigned parallel = 4;        // requests at one time, at least 1
  bool half_precision = false;  // keep the model's vectors so from now on
  bool anew = false;            // forget the model's vectors once the server has answered
  std::chrono::milliseconds deadline = std::chrono::seconds(120);  // of one request
  RetrySettings retry = {};                                        // of each request
  // Held while the index is written, never while the server is waited for; asked for on several
  // threads, one after the other. Empty: nobody else writes. Throws when the stop was requested
  // meanwhile.
  std::function<index::WriterLock(const std::stop_token&)> lock = {};
  // Called often on the caller's thread; what it throws ends the work, within a second or so.
  std::function<void(const ServerEmbedProgress&)> progress = {};
};

// What became of the work.
struct ServerEmbedReport {
  std::int64_t symbols = 0;  // all that can be embedded
  std::int64_t given = 0;    // that got a vector now
  std::int64_t texts = 0;    // that the server embedded for them
};

// Embeds every symbol that takes part in retrieval and has no vector of its text by this model, and
// removes vectors that nothing has used, but for as many as there are symbols, or 20,000. Equal
// texts are asked for once, and no text whose vector is known. Each answer is stored at once.
// Throws std::runtime_error with what is wrong and what to do; what was stored stays.
ServerEmbedReport embed_with_server(index::Index& index, const ServerEmbedOptions& options);

}  // namespace velmora::host::embedding
