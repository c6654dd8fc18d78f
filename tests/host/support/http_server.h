// A real HTTP server on loopback for tests. It serves one connection after another and can
// misbehave: the test decides the bytes that are sent back for each request.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace velmora::host::test {

class HttpServer {
 public:
  // What is sent for a request, whose head and body are given as received. An empty text sends
  // nothing and leaves the client waiting; one that holds "Connection: close" ends the connection.
  using Answer = std::function<std::string(const std::string& request)>;

  // A whole response with a body.
  static std::string response(std::string_view body, std::string_view status = "200 OK") {
    return "HTTP/1.1 " + std::string(status) +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + std::string(body);
  }

  // Behind each answer it sends `drip` every few milliseconds until the client goes.
  explicit HttpServer(Answer answer, std::string drip = {})
      : answer_(std::move(answer)), drip_(std::move(drip)) {
    listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
        ::listen(listener_, 16) != 0 ||
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
      throw std::runtime_error("no port on loopback");
    }
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
  }
  ~HttpServer() {
    ::shutdown(listener_, SHUT_RDWR);  // ends the accept
    {
      const std::lock_guard guard(lock_);
      stopping_ = true;
      if (connection_ >= 0) ::shutdown(connection_, SHUT_RDWR);  // ends the read
    }
    thread_.join();
    ::close(listener_);
  }

  [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(port_); }

  // Every request so far, in order.
  [[nodiscard]] std::vector<std::string> requests() const {
    const std::lock_guard guard(lock_);
    return requests_;
  }

 private:
  void serve() {
    while (true) {
      const int connection = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
      if (connection < 0) return;
      {
        const std::lock_guard guard(lock_);
        connection_ = connection;
        if (stopping_) ::shutdown(connection, SHUT_RDWR);
      }
      talk(connection);
      const std::lock_guard guard(lock_);
      ::close(std::exchange(connection_, -1));
    }
  }

  // Answers the requests of a connection until the client or the server ends it.
  void talk(int connection) {
    std::string received;
    char buffer[4096];
    while (true) {
      const ssize_t count = ::recv(connection, buffer, sizeof(buffer), 0);
      if (count <= 0) return;
      received.append(buffer, static_cast<std::size_t>(count));
      if (!is_whole(received)) continue;
      {
        const std::lock_guard guard(lock_);
        requests_.push_back(received);
      }
      const std::string sent = answer_(std::exchange(received, ""));
      static_cast<void>(::send(connection, sent.data(), sent.size(), MSG_NOSIGNAL));
      while (!drip_.empty() && !is_left(connection)) {
        static_cast<void>(::send(connection, drip_.data(), drip_.size(), MSG_NOSIGNAL));
      }
      if (sent.find("Connection: close\r\n") != std::string::npos) return;
    }
  }

  // Whether the client went within the few milliseconds that this waits.
  static bool is_left(int connection) {
    pollfd wait{connection, POLLRDHUP, 0};
    return ::poll(&wait, 1, 5) != 0;
  }

  static bool is_whole(const std::string& request) {
    const std::size_t head = request.find("\r\n\r\n");
    const std::size_t field = request.find("Content-Length: ");
    if (head == std::string::npos) return false;
    const std::size_t body = field < head ? std::stoul(request.substr(field + 16)) : 0;
    return request.size() >= head + 4 + body;
  }

  Answer answer_;
  std::string drip_;
  int listener_ = -1;
  int port_ = 0;
  mutable std::mutex lock_;
  bool stopping_ = false;
  int connection_ = -1;
  std::vector<std::string> requests_;
  std::thread thread_;
};

}  // namespace velmora::host::test
