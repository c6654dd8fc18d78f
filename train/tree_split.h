// Which trees are learned from, by which model, which choose settings, and which judge at the end.
//
// The embedding model learns from the training set. The decision model learns from another: on
// trees whose answers the embedding model knows, it would come to trust that one too much. The sets
// share no owner and no family: forks and ports, organisations of one company or author, and trees
// of which one holds a copy of the other. Copies were looked for: where two trees share more than
// two in a hundred of the smaller one's signatures together with the words of their bodies, both
// stand in one set.
#pragma once

#include <array>
#include <filesystem>
#include <span>
#include <string_view>
#include <vector>

namespace velmora::train {

enum class TreeSet { training, decision, validation, test };

// The set of a repository "owner/name": that of its owner; an owner that stands in no list is
// of the training set.
[[nodiscard]] TreeSet tree_set(std::string_view repository);

// Owners that belong together, though their names differ; one family a row. For a test, which holds
// the sets against it.
[[nodiscard]] std::span<const std::vector<std::string_view>> owner_families();

// The files "owner+name.jsonl.gz" of a folder that belong to the set, by name; none of a folder
// that cannot be read.
[[nodiscard]] std::vector<std::filesystem::path> tree_files(const std::filesystem::path& folder,
                                                            TreeSet set);

// "training", "decision", "validation" or "test".
[[nodiscard]] std::string_view name_of(TreeSet set);

}  // namespace velmora::train
