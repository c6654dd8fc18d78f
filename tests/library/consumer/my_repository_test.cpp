// The smallest example keeps what the library asks of it.
#include "my_repository.h"

#include <velmora/contract/repository.h>

namespace velmora::contract {

class MyHost : public RepositoryHost {
 public:
  std::shared_ptr<storage::Repository> repository() override { return repository_; }

  // Always the same: the index never changes.
  Holdings hold(const Holdings&) override {
    return {"",
            {{1, "app.config.parse_config", "parse_config", "function", "python", "src/config.py",
              10, 24, "parse_config(path)", "Reads the settings of a file."},
             {2, "app.main", "main", "function", "python", "src/main.py", 1, 9, "main()"}}};
  }

 private:
  const std::shared_ptr<MyRepository> repository_ = std::make_shared<MyRepository>();
};

INSTANTIATE_TYPED_TEST_SUITE_P(MyRepository, RepositoryContract, MyHost);

}  // namespace velmora::contract
