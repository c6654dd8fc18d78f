#include "cli/input.h"

#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <system_error>

namespace velmora::host::cli {

Input::Input(const std::string& name) : stream_(name == "-" ? std::cin : file_) {
  if (name == "-") return;
  file_.open(name, std::ios::binary);
  if (!file_) {
    throw std::runtime_error(name + " cannot be opened: " + std::generic_category().message(errno));
  }
}

}  // namespace velmora::host::cli
