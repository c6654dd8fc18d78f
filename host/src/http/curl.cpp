#include "http/curl.h"

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace velmora::host::http {
namespace {

// Of 7.85, the first with CURLOPT_PROTOCOLS_STR.
constexpr unsigned OLDEST = 0x075500;

std::runtime_error no_curl(const std::string& why) {
  return std::runtime_error("this needs libcurl 7.85 or later (Debian: apt install libcurl4), " +
                            why);
}

template <typename Function>
void find(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(::dlsym(library, name));
  if (function == nullptr) throw no_curl("and the one here has no " + std::string(name));
}

}  // namespace

Curl load_curl(const char* name) {
  // Never closed: a name look-up that was left behind may still run in it.
  void* const library = ::dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw no_curl("and there is none: " + std::string(::dlerror()));
  Curl curl{};
  find(library, "curl_version_info", curl.version_info);
  const curl_version_info_data& version = *curl.version_info(CURLVERSION_NOW);
  if (version.version_num < OLDEST) {
    throw no_curl("and the one here is " + std::string(version.version));
  }
  find(library, "curl_easy_cleanup", curl.easy_cleanup);
  find(library, "curl_easy_getinfo", curl.easy_getinfo);
  find(library, "curl_easy_init", curl.easy_init);
  find(library, "curl_easy_perform", curl.easy_perform);
  find(library, "curl_easy_setopt", curl.easy_setopt);
  find(library, "curl_easy_strerror", curl.easy_strerror);
  find(library, "curl_free", curl.free);
  find(library, "curl_global_init", curl.global_init);
  find(library, "curl_slist_append", curl.slist_append);
  find(library, "curl_slist_free_all", curl.slist_free_all);
  find(library, "curl_url", curl.url);
  find(library, "curl_url_cleanup", curl.url_cleanup);
  find(library, "curl_url_get", curl.url_get);
  find(library, "curl_url_set", curl.url_set);
  if (curl.global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) {
    throw std::runtime_error("libcurl cannot be initialised");
  }
  return curl;
}

const Curl& curl() {
  static const Curl loaded = load_curl("libcurl.so.4");
  return loaded;
}

}  // namespace velmora::host::http
