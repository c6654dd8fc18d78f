#include "http/json_client.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/http_server.h"

namespace velmora::host::http {
namespace {

using test::HttpServer;

TEST(JsonClient, TakesNoProxyToThisMachine) {
  const std::vector<std::pair<std::string, bool>> hosts = {{"http://127.0.0.1:8080/v1", true},
                                                           {"127.9.9.9", true},
                                                           {"https://LocalHost./x", true},
                                                           {"http://a.localhost:1", true},
                                                           {"http://[::1]:8080", true},
                                                           {"http://0.0.0.0:1", true},
                                                           {"http://[::]", true},
                                                           {"http://[::ffff:127.0.0.1]", true},
                                                           {"http://[::ffff:8.8.8.8]", false},
                                                           {"http://0x7f000001", true},
                                                           {"http://127.0.0.1@evil.org", false},
                                                           {"http://localhost.org", false},
                                                           {"http://notlocalhost", false},
                                                           {"http://[::2]", false},
                                                           {"http://128.0.0.1", false},
                                                           {"http://127.0.0.1.org/", false},
                                                           {"", false}};
  for (const auto& [url, loopback] : hosts) EXPECT_EQ(is_on_loopback(url), loopback) << url;

  HttpServer proxy([](const std::string&) { return HttpServer::response("proxied"); });
  HttpServer server([](const std::string&) {
    return HttpServer::response("direct", "200 OK\r\nConnection: close");
  });
  for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY"}) {
    ::setenv(name, proxy.url().c_str(), 1);
  }
  const auto ask = [](const std::string& url) {
    return JsonClient({.who = "It", .url = url, .api_key = "secret"}).post({}, 100);
  };
  std::string by_name = server.url();
  by_name.replace(by_name.find("127.0.0.1"), 9, "localhost");
  EXPECT_EQ(ask(server.url()), "direct");
  EXPECT_EQ(ask(by_name), "direct");
  EXPECT_TRUE(proxy.requests().empty());
  EXPECT_EQ(ask("http://models.invalid/v1"), "proxied") << "any other goes through it";
  for (const char* name : {"http_proxy", "all_proxy", "ALL_PROXY"}) ::unsetenv(name);
}

TEST(JsonClient, SaysWhatToInstallWhereLibcurlIsNone) {
  const std::pair<const char*, const char*> libraries[] = {
      {"libvelmora-none.so.4", "there is none: libvelmora-none.so.4: "},
      {"libm.so.6", "the one here has no curl_version_info"}};
  for (const auto& [name, why] : libraries) {
    try {
      static_cast<void>(load_curl(name));
      ADD_FAILURE() << name << " was loaded";
    } catch (const std::runtime_error& error) {
      const std::string sentence = error.what();
      EXPECT_TRUE(sentence.starts_with("this needs libcurl 7.85 or later (")) << sentence;
      EXPECT_NE(sentence.find(why), std::string::npos) << sentence;
    }
  }
}

}  // namespace
}  // namespace velmora::host::http
