// The hosts in memory keep what the headers promise; also under the thread sanitizer.
#include "contract/memory_hosts.h"

#include "support/memory_repository.h"

namespace velmora {
namespace testing {
namespace {

// A repository whose rows are filled once.
class MemoryRepositoryHost : public contract::RepositoryHost {
 public:
  std::shared_ptr<storage::Repository> repository() override { return repository_; }

  contract::Holdings hold(const contract::Holdings& wanted) override {
    if (!held_.symbols.empty()) return held_;
    for (contract::HeldSymbol symbol : wanted.symbols) {
      repository_->rows.push_back({symbol.id, symbol.name, symbol.path, symbol.kind,
                                   symbol.language, symbol.signature, symbol.docstring});
      symbol.fqn = "pkg." + symbol.name;
      symbol.start_line = 1;
      symbol.end_line = 2;
      symbol.embedding.clear();
      held_.symbols.push_back(std::move(symbol));
    }
    return held_;
  }

 private:
  contract::Holdings held_;
  const std::shared_ptr<MemoryRepository> repository_ = std::make_shared<MemoryRepository>();
};

}  // namespace
}  // namespace testing

namespace contract {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(MemoryRepository, RepositoryContract, testing::MemoryRepositoryHost);
INSTANTIATE_TYPED_TEST_SUITE_P(MemoryIndex, RepositoryContract, testing::MemoryIndexHost);
INSTANTIATE_TYPED_TEST_SUITE_P(ConceptModel, EmbeddingEngineContract, testing::ConceptModelHost);
INSTANTIATE_TYPED_TEST_SUITE_P(WordJudge, RerankClientContract, testing::WordJudgeHost);

}  // namespace
}  // namespace contract
}  // namespace velmora
