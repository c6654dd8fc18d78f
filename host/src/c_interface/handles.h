// What the opaque handles of the C interface hold.
#pragma once

#include <filesystem>
#include <memory>

#include "velmora/host/index/index.h"
#include "velmora/velmora.h"
#include "velmora/workers/retrieval.h"

struct velmora_index {
  const std::shared_ptr<velmora::host::index::Index> index;
  const std::filesystem::path file;  // absolute
  const std::filesystem::path root;  // empty: of no repository
};

struct velmora_retriever {
  const std::shared_ptr<velmora::host::index::Index> index;  // null: of a host's own
  const bool reranks;
  velmora::workers::retrieval::HybridRetriever retriever;
};

struct velmora_answer {
  const velmora::workers::retrieval::RetrievalResult result;
};
