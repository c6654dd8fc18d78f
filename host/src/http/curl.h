// libcurl, loaded when a server is first asked: who asks none needs none, and starts without the
// thirty libraries that it brings.
#pragma once

#include <curl/curl.h>

namespace velmora::host::http {

// The functions of libcurl that are used, by their names without "curl_".
struct Curl {
  decltype(&::curl_easy_cleanup) easy_cleanup;
  decltype(&::curl_easy_getinfo) easy_getinfo;
  decltype(&::curl_easy_init) easy_init;
  decltype(&::curl_easy_perform) easy_perform;
  decltype(&::curl_easy_setopt) easy_setopt;
  decltype(&::curl_easy_strerror) easy_strerror;
  decltype(&::curl_free) free;
  decltype(&::curl_global_init) global_init;
  decltype(&::curl_slist_append) slist_append;
  decltype(&::curl_slist_free_all) slist_free_all;
  decltype(&::curl_url) url;
  decltype(&::curl_url_cleanup) url_cleanup;
  decltype(&::curl_url_get) url_get;
  decltype(&::curl_url_set) url_set;
  decltype(&::curl_version_info) version_info;
};

// Loads a library that stays loaded and initialised. Throws std::runtime_error, which says what to
// install and has no final full stop, when there is none of this name, or it is of a version that
// lets a server name any protocol.
[[nodiscard]] Curl load_curl(const char* name);

// Loads the machine's libcurl, once; after an error, again. Any number of threads may ask.
[[nodiscard]] const Curl& curl();

}  // namespace velmora::host::http
