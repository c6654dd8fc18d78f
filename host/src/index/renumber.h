// Gives files and symbols that are in an index the numbers that their tree makes, within the
// transaction of the caller. Embeddings move along.
#pragma once

#include "velmora/storage/sqlite.h"

namespace velmora::host::index {

// Numbers the files. To be called when paths came or went; the symbols have ids by the files'
// numbers of now. Returns whether a number changed.
bool renumber_files(storage::Database& database);

// Numbers the symbols of an import, whose ids may be any. Those of a file that have one kind and
// fqn stand by line and earlier id. Returns whether the index holds an import.
bool renumber_import(storage::Database& database);

}  // namespace velmora::host::index
