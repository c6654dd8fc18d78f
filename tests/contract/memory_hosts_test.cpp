// The hosts in memory keep what the headers promise; also under the thread sanitizer.
#include "contract/memory_hosts.h"

namespace velmora::contract {
namespace {

INSTANTIATE_TYPED_TEST_SUITE_P(MemoryIndex, RepositoryContract, testing::MemoryIndexHost);
INSTANTIATE_TYPED_TEST_SUITE_P(ConceptModel, EmbeddingEngineContract, testing::ConceptModelHost);
INSTANTIATE_TYPED_TEST_SUITE_P(WordJudge, RerankClientContract, testing::WordJudgeHost);

}  // namespace
}  // namespace velmora::contract
