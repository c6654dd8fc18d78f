// The contract tests of a repository, for an index in Python: a library that is libvelmora with
// them inside, which python/tests/test_contract.py loads and runs.
#include <gtest/gtest.h>

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "c_interface/repository.h"
#include "velmora/contract/repository.h"
#include "velmora/velmora.h"

namespace {

using Hold = void (*)(const char* symbols, std::size_t size);

// What velmora_run_contract was given.
const velmora_repository* table = nullptr;
Hold hold = nullptr;

nlohmann::json as_json(const velmora::contract::HeldSymbol& held) {
  nlohmann::json symbol = {{"id", held.id},
                           {"fqn", held.fqn},
                           {"name", held.name},
                           {"kind", held.kind},
                           {"language", held.language},
                           {"path", held.path},
                           {"start_line", held.start_line},
                           {"end_line", held.end_line},
                           {"signature", nullptr},
                           {"docstring", nullptr},
                           {"embedding", held.embedding}};
  if (held.signature) symbol["signature"] = *held.signature;
  if (held.docstring) symbol["docstring"] = *held.docstring;
  return symbol;
}

class PythonHost : public velmora::contract::RepositoryHost {
 public:
  std::shared_ptr<velmora::storage::Repository> repository() override { return repository_; }

  velmora::contract::Holdings hold(const velmora::contract::Holdings& wanted) override {
    nlohmann::json symbols = nlohmann::json::array();
    for (const velmora::contract::HeldSymbol& held : wanted.symbols) {
      symbols.push_back(as_json(held));
    }
    const std::string text = nlohmann::json{{"model", wanted.model}, {"symbols", symbols}}.dump();
    ::hold(text.data(), text.size());
    return wanted;
  }

 private:
  const std::shared_ptr<velmora::storage::Repository> repository_ =
      std::make_shared<velmora::host::c_interface::CallbackRepository>(*table);
};

}  // namespace

namespace velmora::contract {
INSTANTIATE_TYPED_TEST_SUITE_P(PythonRepository, RepositoryContract, PythonHost);
}

// Runs all checks on the repository of `given`, which holds what it is told through `told`, as
// JSON. Returns 0 when they pass.
extern "C" VELMORA_API int velmora_run_contract(const velmora_repository* given, Hold told) {
  table = given;
  hold = told;
  int count = 1;
  std::string name = "velmora_python_contract";
  char* arguments[] = {name.data(), nullptr};
  testing::InitGoogleTest(&count, arguments);
  return RUN_ALL_TESTS();
}
