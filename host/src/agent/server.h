// The agent's server: answers the messages of one client over a pair of streams.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "agent/call_pool.h"
#include "agent/conversation.h"
#include "agent/message_streams.h"
#include "agent/repositories.h"

namespace velmora::host::agent {

struct ServerOptions {
  // How long a call waits for an index that is being made or brought up to date.
  std::chrono::milliseconds longest_wait = std::chrono::seconds(5);
  // How long calls that are under way may take once the input has ended.
  std::chrono::milliseconds longest_end = std::chrono::seconds(1);
  // How many calls are made at one time; others wait for their turn.
  std::size_t most_calls = 16;
  // How many are under way or wait at one time; more are refused.
  std::size_t most_waiting = 1000;
};

class Server {
 public:
  // The descriptors stay the caller's, and so do the repositories, which outlive the server.
  Server(Repositories& repositories, int input, int output, const ServerOptions& options = {});
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // Waits for the calls that are under way, however long they take: a program that ends does not
  // need to.
  ~Server();

  // Answers until the input ends; then returns at once, or when the calls under way are answered,
  // `longest_end` later at the latest. Nothing is kept before the first message is answered. Throws
  // NobodyListens, and std::system_error when the input cannot be read.
  void run();

 private:
  struct CallUnderWay;

  void take(const Conversation::Step& step);
  void keep_repositories();
  void begin(const Call& call);
  void make(const Call& call, CallUnderWay& under_way);
  void cancel(const Json& id);
  // Whether the answer is still wanted; the call is no longer under way.
  [[nodiscard]] bool finish(const Json& id, const CallUnderWay& under_way);

  Repositories& repositories_;
  const ServerOptions options_;
  Conversation conversation_;
  MessageReader reader_;
  MessageWriter writer_;
  std::mutex mutex_;
  std::map<Json, std::shared_ptr<CallUnderWay>> under_way_;
  CallPool pool_;  // last: its threads use all of them
};

}  // namespace velmora::host::agent
