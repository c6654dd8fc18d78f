#include "agent/server.h"

#include <atomic>
#include <exception>
#include <variant>

#include "velmora/logging.h"

namespace velmora::host::agent {
namespace {

constexpr logging::Logger LOGGER("velmora.host.agent");

using Clock = std::chrono::steady_clock;

}  // namespace

struct Server::CallUnderWay {
  std::atomic<bool> is_cancelled = false;
};

Server::Server(Repositories& repositories, int input, int output, const ServerOptions& options)
    : repositories_(repositories),
      options_(options),
      reader_(input, MOST_MESSAGE_BYTES),
      writer_(output),
      pool_(options.most_calls) {}

Server::~Server() = default;

void Server::run() {
  while (true) {
    switch (reader_.next()) {
      case MessageReader::State::line:
        take(conversation_.take(reader_.line()));
        break;
      case MessageReader::State::too_long:
        writer_.write(error_line(nullptr, too_long()));
        break;
      case MessageReader::State::end:
        pool_.wait(options_.longest_end);
        return;
    }
    keep_repositories();
  }
}

// What keeps one from being kept, each call is told too.
void Server::keep_repositories() {
  try {
    repositories_.keep();
  } catch (const std::exception& error) {
    LOGGER.log(logging::Level::warning, [&] { return std::string(error.what()); });
  }
}

void Server::take(const Conversation::Step& step) {
  if (const auto* line = std::get_if<std::string>(&step)) writer_.write(*line);
  if (const auto* call = std::get_if<Call>(&step)) begin(*call);
  if (const auto* cancellation = std::get_if<Cancellation>(&step)) cancel(cancellation->id);
}

void Server::begin(const Call& call) {
  const auto refuse = [&](const char* text) {
    writer_.write(error_line(call.id, ProtocolError(ErrorCode::invalid_request, text)));
  };
  auto under_way = std::make_shared<CallUnderWay>();
  {
    const std::lock_guard lock(mutex_);
    if (under_way_.size() >= options_.most_waiting) {
      return refuse("Too many calls are under way: wait for an answer first");
    }
    if (!under_way_.emplace(call.id, under_way).second) {
      return refuse("A request with this id is under way");
    }
  }
  pool_.add([this, call, under_way] {
    try {
      make(call, *under_way);
    } catch (const std::exception& error) {
      // Nobody listens, most likely: the input ends too then.
      LOGGER.log(logging::Level::info, [&] { return std::string(error.what()); });
    }
  });
}

void Server::make(const Call& call, CallUnderWay& under_way) {
  const Clock::time_point start = Clock::now();
  Asking asking{.repositories = repositories_,
                .longest_wait = options_.longest_wait,
                .has_ended = [&] { return under_way.is_cancelled.load(); }};
  if (!call.progress_token.is_null()) {
    asking.tell = [&](const std::string& note) {
      const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
      writer_.write(progress_line(call, time.count(), note));
    };
  }
  try {
    if (under_way.is_cancelled) throw CallEnded();
    const ToolAnswer answer = call_tool(*call.tool, call.arguments, asking);
    if (finish(call.id, under_way)) writer_.write(answer_line(call, answer));
  } catch (const CallEnded&) {
    static_cast<void>(finish(call.id, under_way));
  }
}

void Server::cancel(const Json& id) {
  const std::lock_guard lock(mutex_);
  const auto call = under_way_.find(id);
  if (call != under_way_.end()) call->second->is_cancelled = true;
}

bool Server::finish(const Json& id, const CallUnderWay& under_way) {
  const std::lock_guard lock(mutex_);
  under_way_.erase(id);
  return !under_way.is_cancelled;
}

}  // namespace velmora::host::agent
