// Velmora for C, and for every language that can call C: an index of a folder is made, opened and
// asked; or a host's own index, embedding model and decision model are asked through tables of
// functions. C99 and C++.
//
//   velmora_index *index = NULL;
//   velmora_retriever *retriever = NULL;
//   velmora_answer *answer = NULL;
//   velmora_string folder = velmora_string_of("src/project");
//   if (velmora_index_update(folder, NULL, NULL) == VELMORA_OK &&
//       velmora_index_open(folder, &index) == VELMORA_OK &&
//       velmora_retriever_of_index(index, NULL, &retriever) == VELMORA_OK &&
//       velmora_ask(retriever, velmora_string_of("where are retries delayed"), NULL, &answer) ==
//           VELMORA_OK) {
//     velmora_hit hit = VELMORA_INIT(velmora_hit);
//     for (size_t i = 0; i < velmora_answer_size(answer); ++i)
//       if (velmora_answer_hit(answer, i, &hit) == VELMORA_OK)
//         printf("%s:%lld %s\n", hit.path.data, (long long)hit.start_line, hit.fqn.data);
//   } else {
//     fprintf(stderr, "%s\n", velmora_message().data);
//   }
//   velmora_answer_free(answer);
//   velmora_retriever_free(retriever);
//   velmora_index_close(index);
//
// Errors. A function that can fail returns a velmora_code, and velmora_message() then says what is
// wrong and what to do. A required pointer that is null is VELMORA_INVALID_ARGUMENT, whose message
// names it. What a failed call would have handed out is null. Nothing is thrown, and nothing exits.
//
// Threads. Every function may be called from any thread. An index and a retriever may be used by
// any number of threads at once; an answer may be read by any number. What is closed or freed is
// used by nobody then and afterwards. The library starts threads while velmora_index_update runs,
// and none otherwise.
//
// The end of the process. All of it works until then, also in functions of atexit and destructors.
//
// Structs. Each begins with its size, which VELMORA_INIT sets together with zeros everywhere else,
// and zero is each field's default. So a struct may grow: of a shorter one, which an earlier
// version of this header made, the fields that it lacks count as default and are never written. One
// that is longer than the library knows must be zero beyond that.
//
// Files that come along. The models and velmora-parse-worker are looked for in the folder that the
// environment variable VELMORA_HOME names, if it is set; else beside the library (or the program,
// when it is linked into one), and in share/velmora and libexec/velmora of the folders above that,
// as an install lays them out; at last where the library was configured to be installed. A folder
// that VELMORA_HOME names has them in itself or in share/velmora and libexec/velmora. What belongs
// to another user is passed over, but for what an administrator or the library's owner put there.
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#include "velmora/export.h"

#ifdef __cplusplus
#define VELMORA_NOEXCEPT noexcept  // nothing is thrown
// A struct of this header with its size set and all else zero.
#define VELMORA_INIT(type) velmora_init<type>()
template <class Type>
constexpr Type velmora_init() noexcept {
  Type made{};
  made.size = sizeof(Type);
  return made;
}
extern "C" {
#else
#define VELMORA_NOEXCEPT  // nothing is thrown
// A struct of this header with its size set and all else zero.
#define VELMORA_INIT(type) \
  { .size = sizeof(type) }
#endif

// --- Strings ---

// Text in UTF-8 (invalid bytes are carried through), or a path in the bytes of the file system.
// `data` of null is no text at all, which is not the same as an empty one; the size is zero then.
// What is given to the library needs no NUL at its end and is copied, or read until the call
// returns. What is read out of a handle, an info or a message has a NUL behind it, for printf.
typedef struct velmora_string {
  const char* data;  // null: no text
  size_t size;       // in bytes, without a NUL at the end
} velmora_string;

// The text up to its NUL. It lives as long as `text`, which may be null.
static inline velmora_string velmora_string_of(const char* text) VELMORA_NOEXCEPT {
  velmora_string made;
  made.data = text;
  made.size = 0;
  while (text != NULL && text[made.size] != '\0') ++made.size;
  return made;
}

// --- Errors ---

// What became of a call.
typedef int32_t velmora_code;
enum {
  VELMORA_OK = 0,
  VELMORA_INVALID_ARGUMENT = 1,
  VELMORA_NO_INDEX = 2,         // there is none, or none that was ever filled: make it
  VELMORA_UNUSABLE_INDEX = 3,   // damaged, of another version, or no index at all: make it anew
  VELMORA_BUSY = 4,             // somebody else is writing the index
  VELMORA_TRY_AGAIN_LATER = 5,  // something is not ready yet, such as a model that is loading
  VELMORA_STOPPED = 6,          // a callback wanted it
  VELMORA_OUT_OF_MEMORY = 7,
  VELMORA_CONSENT_NEEDED = 8,  // the folder is so large, or so private, that it needs consent
  VELMORA_OTHER = 9            // whatever else went wrong; the message tells
};

// What the last function that returned a velmora_code in this thread, and not VELMORA_OK, had to
// say; empty before the first. Lives until the next call in this thread. Never null.
VELMORA_API velmora_string velmora_message(void) VELMORA_NOEXCEPT;

// For callbacks: what the code that it returns is about. Becomes the thread's message.
//
// A callback ends with VELMORA_OK or another code, which is an error. What the error does is told
// beside the callback; where it ends the call, the call returns that code with that message.
// VELMORA_STOPPED always ends the call. A callback neither throws nor jumps out. It may call
// functions of this header, but must not ask the retriever that calls it, nor free what does.
VELMORA_API void velmora_set_message(velmora_string text) VELMORA_NOEXCEPT;

// "1.0.0". Lives forever.
VELMORA_API velmora_string velmora_version(void) VELMORA_NOEXCEPT;

// --- Logging ---

enum {
  VELMORA_LOG_DEBUG = 0,
  VELMORA_LOG_INFO = 1,
  VELMORA_LOG_WARNING = 2,
  VELMORA_LOG_ERROR = 3
};

// Gets one record: the level, the logger ("velmora.workers.retrieval") and the text, with the
// errors behind it on lines of their own. The strings live for the call. Called on the thread that
// logs, threads of the library among them, and from several at once; must be quick and must not
// call the library.
typedef void (*velmora_log_function)(void* self, int32_t level, velmora_string logger,
                                     velmora_string text);

// Sends what the whole process logs from `level` on to `log`, in place of what was set before;
// null: nowhere, as at the start. `release`, if not null, is called with `self` once `log` is done,
// which may be a little after another was set, and on another thread; not when this call fails, nor
// when the process ends before.
VELMORA_API velmora_code velmora_set_log(velmora_log_function log, void* self,
                                         void (*release)(void* self),
                                         int32_t level) VELMORA_NOEXCEPT;

// --- Indexes ---

// The index of one folder, open for reading. It answers from its newest state, whoever writes it
// meanwhile, also when it was made anew.
typedef struct velmora_index velmora_index;

// How far an update is. The strings live for the call.
typedef struct velmora_progress {
  size_t size;                 // that the library has; a field beyond it is not there
  velmora_string waiting_for;  // who writes the index now, so that it waits; else no text
  uint64_t files_done;         // read, or known as they are
  uint64_t files;              // that there are; 0 until they are listed
  int64_t symbols;             // read so far
  int64_t embedded;            // symbols, after the last file
  int64_t to_embed;            // of so many
} velmora_progress;

// How an index is made or brought up to date.
typedef struct velmora_update_options {
  size_t size;
  // Called on the thread of the call, before each file and each symbol to embed, and about fifty
  // times a second while another process writes the index. Another code than VELMORA_OK ends the
  // update, which returns that code, and the index is as it was. May be null.
  velmora_code (*progress)(void* self, const velmora_progress* now);
  // Called once for each file or folder that was left out, by path, with the reason in a few words
  // that stand after the path, at the end of a successful update; strings live for the call.
  // Another code than VELMORA_OK ends the list, and the update, done as it is, returns it. May be
  // null.
  velmora_code (*skipped)(void* self, velmora_string path, velmora_string reason, bool is_folder);
  void* self;  // of both
  // Larger files are left out, in bytes, from now on. 0: as the last time, or as the settings say.
  uint64_t largest_file;
  // The model file that embeds the symbols. No text: tuned.model beside the index, if it was made
  // there, else the one that came with the library. Where that is missing, symbols are not embedded
  // and the log tells.
  velmora_string model;
  bool without_model;  // do not embed new symbols; the next update without it does
  bool no_wait;        // VELMORA_BUSY at once when another process writes the index
  bool retry;          // read files again that parsing took too much for
  bool rebuild;        // remove the index, and make it anew; none is left if that is stopped
  // The user means it, be it their home folder, "/" or a folder of over 200,000 files, which is
  // VELMORA_CONSENT_NEEDED else. What has been indexed before needs no second word.
  bool consent;
} velmora_update_options;

// What an update did.
typedef struct velmora_update_report {
  size_t size;
  uint64_t files;      // in the index: added, changed or unchanged
  uint64_t added;      // ... since the last update
  uint64_t changed;    // read again, and not the same
  uint64_t removed;    // gone, or left out now
  uint64_t unchanged;  // as the index had them
  uint64_t skipped;    // files and folders left out, as the callback gets them
  int64_t symbols;     // in the index
  int64_t embedded;    // symbols that got a vector now
} velmora_update_report;

// Makes the index of a folder, or brings it up to date, as `velmora index FOLDER` does: it stands
// in FOLDER/.velmora, and settings of the user and the folder count. All or nothing; whoever reads
// the index sees its earlier state until this is done. An index that is damaged, of another version
// or not made here is made anew, which the log tells; there is none until that is done. `options`
// and `report` may be null; the report is written on success alone, and when `skipped` ended its
// list.
//
// Blocks: a large repository takes minutes, one that hardly changed well below a second. Sources
// are parsed by processes of its own, which end with it. Meanwhile the host must not reap processes
// that it did not start, be it by wait() or by ignoring SIGCHLD. Signals are left alone.
VELMORA_API velmora_code velmora_index_update(velmora_string folder,
                                              const velmora_update_options* options,
                                              velmora_update_report* report) VELMORA_NOEXCEPT;

// Opens an index, to be closed by the caller: of `path`, a folder, the nearest that covers it (its
// own or that of a folder above, as far as the repository goes), or the index file that `path`
// names. Reads all of it first when it was not made here by this user. Updates nothing.
VELMORA_API velmora_code velmora_index_open(velmora_string path,
                                            velmora_index** index) VELMORA_NOEXCEPT;

// What an index is. The strings live as long as the index is open.
typedef struct velmora_index_info {
  size_t size;
  velmora_string file;  // absolute
  velmora_string root;  // of the repository, which paths and scopes are relative to; or no text
  int64_t symbols;      // in the index
  int64_t files;        // that were read
  bool made_here;  // by this user, where it is; else it came along, and says what its maker wanted
} velmora_index_info;

// Fills `info` from the newest state. Blocks for a pass over the symbols.
VELMORA_API velmora_code velmora_index_describe(velmora_index* index,
                                                velmora_index_info* info) VELMORA_NOEXCEPT;

// Retrievers of the index go on. Null is nothing.
VELMORA_API void velmora_index_close(velmora_index* index) VELMORA_NOEXCEPT;

// --- A host's own index ---

// A symbol, as a host's index streams it.
typedef struct velmora_symbol {
  size_t size;               // as the library set it
  int64_t id;                // any value; unique among the rows: two of one end the question
  velmora_string fqn;        // fully qualified name
  velmora_string name;       // its own name
  velmora_string kind;       // one of the kinds asked for
  velmora_string path;       // relative to the root: forward slashes, no "./", no slash at an end
  int64_t start_line;        // as the index counts lines
  int64_t end_line;          // the last
  velmora_string signature;  // may be no text, ...
  velmora_string docstring;  // ... and so may this
} velmora_symbol;

// These four take what a callback has to say; each is good for its one call and copies what it is
// given. A state:
typedef struct velmora_fingerprint velmora_fingerprint;
// Neighbours:
typedef struct velmora_pairs velmora_pairs;
// Docstrings by id:
typedef struct velmora_docstrings velmora_docstrings;
// A vector and its model:
typedef struct velmora_vector velmora_vector;

// The state of the index; the last one that is put counts.
VELMORA_API velmora_code velmora_put_fingerprint(velmora_fingerprint* out,
                                                 velmora_string value) VELMORA_NOEXCEPT;
// One more stored embedding near to the query, by cosine from -1 to 1; the nearest first.
VELMORA_API velmora_code velmora_put_pair(velmora_pairs* out, int64_t id,
                                          double similarity) VELMORA_NOEXCEPT;
// That the index holds the symbol, with its docstring or with no text.
VELMORA_API velmora_code velmora_put_docstring(velmora_docstrings* out, int64_t id,
                                               velmora_string docstring) VELMORA_NOEXCEPT;
// The vector of the query and the name of the model that made it; the last one counts.
VELMORA_API velmora_code velmora_put_vector(velmora_vector* out, const float* values, size_t count,
                                            velmora_string model) VELMORA_NOEXCEPT;

// An index that the retriever is to read. All functions may block, and all but those of a cursor
// are called from any number of threads at once, on threads that ask. Arguments live for the call.
typedef struct velmora_repository {
  size_t size;
  void* self;  // handed to every function
  // Called once, when nobody will use `self` any more. May be null.
  void (*release)(void* self);

  // Puts a value that no other state of this index, nor of another that may stand in its place,
  // ever had or will have. Called for every question, so it must be cheap. An error ends the
  // question.
  velmora_code (*fingerprint)(void* self, velmora_fingerprint* out);

  // Begins a walk over exactly the symbols whose language is one of `languages` and whose kind is
  // one of `kinds`, each once, in the same order for the same state. What it puts into *cursor, be
  // it null, is handed to `next` and `close`, on the same thread. The languages and kinds live
  // until `close`. Called when the index changed, by one thread of a retriever at a time. An error
  // ends the question; the next tries again. `close` is then not called.
  velmora_code (*open)(void* self, const velmora_string* languages, size_t language_count,
                       const velmora_string* kinds, size_t kind_count, void** cursor);
  // Fills `row`, which is all zero but for its size, and sets *is_row; leaves *is_row false after
  // the last. The texts of the row must live until the next call with this cursor, also when that
  // is `close`. An error ends the question, after `close`.
  velmora_code (*next)(void* self, void* cursor, velmora_symbol* row, bool* is_row);
  // Ends the walk, wherever it is. May be null.
  void (*close)(void* self, void* cursor);

  // Puts the `top_k` (at least 1) stored embeddings of `model` nearest to `values`, nearest first;
  // fewer only when there are no more, none when there is none of that model. Called a few times a
  // question, with growing top_k. An error makes the semantic channel "failed" and is logged. May
  // be null: the index stores no embeddings.
  velmora_code (*nearest)(void* self, const float* values, size_t count, velmora_string model,
                          int64_t top_k, velmora_pairs* out);

  // Puts the docstring of each of the symbols `ids` that the index still holds. Called once for a
  // rerank. An error fails the rerank, which the note tells. May be null: none has any.
  velmora_code (*docstrings)(void* self, const int64_t* ids, size_t count, velmora_docstrings* out);
} velmora_repository;

// --- The built-in embedding model ---

// Embeds the symbols of a host's own index, so that the built-in embedder, which embeds questions
// with the same file, finds them. An index that velmora_index_update made has it all done.
typedef struct velmora_model velmora_model;

// Opens a model file, to be closed by the caller; no text: the one that came along. Reads all of
// it, some megabytes.
VELMORA_API velmora_code velmora_model_open(velmora_string file,
                                            velmora_model** model) VELMORA_NOEXCEPT;

// The model's name, which tells its content too: `nearest` of a repository is asked for it. Lives
// until the model is closed. No text for null.
VELMORA_API velmora_string velmora_model_name(const velmora_model* model) VELMORA_NOEXCEPT;

// How many numbers a vector has. 0 for null.
VELMORA_API size_t velmora_model_dimensions(const velmora_model* model) VELMORA_NOEXCEPT;

// Writes the vector of a symbol, of length 1, to `values`, which has room for its numbers; all zero
// when the model knows none of its words: store none then. Of the symbol the name, fqn, signature,
// path and docstring are read; each may be no text. `body` is words of its source, or no text. Any
// number of threads may call it.
VELMORA_API velmora_code velmora_model_embed(const velmora_model* model,
                                             const velmora_symbol* symbol, velmora_string body,
                                             float* values) VELMORA_NOEXCEPT;

// Null is nothing.
VELMORA_API void velmora_model_close(velmora_model* model) VELMORA_NOEXCEPT;

// --- A host's own models ---

// Embeds questions with the model that embedded the stored symbols.
typedef struct velmora_embedder {
  size_t size;
  void* self;
  void (*release)(void* self);  // as in velmora_repository

  // Puts the vector of the query. Called on threads that ask, from several at once. While the model
  // is not ready: VELMORA_TRY_AGAIN_LATER, with a message that begins a sentence and has no full
  // stop, which makes the semantic channel "unavailable" and part of the note; any other error
  // makes it "failed" and is logged. Arguments live for the call.
  velmora_code (*embed)(void* self, velmora_string query, velmora_vector* out);
} velmora_embedder;

// What a decision model is asked. Everything lives for the call.
typedef struct velmora_decision {
  size_t size;                       // that the library has
  velmora_string question;           // as the user asked it
  const velmora_string* candidates;  // "1. function pkg.parse ...", best first so far
  const velmora_string* questions;   // one about each candidate, to be answered by yes or no
  size_t count;                      // of candidates, and of questions
  velmora_string version;            // of the wording of the questions; for caches and logs
} velmora_decision;

// A decision model that reorders the first hits. Its functions are called on threads that ask, from
// several at once.
typedef struct velmora_decider {
  size_t size;
  void* self;
  void (*release)(void* self);  // as in velmora_repository

  // Whether it is to be asked at all. Must not fail: an error ends the question. May be null: yes.
  velmora_code (*enabled)(void* self, bool* enabled);
  // Whether the user allowed that source text (signatures, docstrings) is shown to the model. An
  // error fails the rerank. May be null: no.
  velmora_code (*consent)(void* self, bool* given);
  // Writes the probability of a yes to the question about each candidate, 0 to 1, to
  // probabilities[0] to probabilities[count - 1]. Must end within 3 seconds. An error, or a number
  // that is missing, fails the rerank: the hits keep their order, the note tells and the log says
  // why.
  velmora_code (*decide)(void* self, const velmora_decision* decision, double* probabilities);
} velmora_decider;

// --- Retrievers ---

// How a retriever ranks. Unlike in other structs zero is a value here like any other: fill it by
// velmora_settings_default or velmora_index_settings and change what is to be changed. Fields that
// a shorter struct lacks are those of velmora_settings_default. Nothing is validated; weights that
// are not finite make questions fail.
typedef struct velmora_settings {
  size_t size;
  int32_t rrf_k;                    // a symbol at rank r of a channel scores 1 / (rrf_k + r) there
  int32_t depth;                    // symbols that a channel hands on; at least the limit
  int32_t semantic_shortlist;       // nearest embeddings searched first
  int32_t semantic_max_neighbours;  // the most that are, for one question
  int32_t best_files;               // whose symbols the file channel ranks; below 1: all matching
  // The BM25 weight of a match in each field of a symbol, ...
  double weight_name;       // its own name
  double weight_signature;  // its signature
  double weight_path;       // the path of its file
  double weight_docstring;  // its docstring
  // ... and of a file.
  double file_weight_names;       // the names of its symbols
  double file_weight_path;        // its path
  double file_weight_docstrings;  // the docstrings of its symbols
  // Of SQLite's full-text search. What is read lives forever.
  velmora_string tokenizer;
} velmora_settings;

// How a retriever of a host's own index ranks unless told. Set the size first.
VELMORA_API velmora_code velmora_settings_default(velmora_settings* settings) VELMORA_NOEXCEPT;

// How a retriever of this index ranks unless told: as the settings of the user and the repository
// say now. Set the size first.
VELMORA_API velmora_code velmora_index_settings(velmora_index* index,
                                                velmora_settings* settings) VELMORA_NOEXCEPT;

// Answers questions about one index.
typedef struct velmora_retriever velmora_retriever;

// Tables and settings are copied.
typedef struct velmora_retriever_options {
  size_t size;
  const velmora_settings* settings;  // null: see velmora_settings_default, velmora_index_settings
  const velmora_embedder* embedder;  // null: the built-in one
  const velmora_decider* decider;    // null: the built-in one, if questions are embedded at all
  velmora_string model;              // of the built-in embedder; as in velmora_update_options
  bool without_embedder;             // rank by names and text only
  bool without_decider;              // never reorder
} velmora_retriever_options;

// A retriever of an index, to be freed by the caller. It keeps what it needs of the index, which
// may be closed first. `options` may be null. Reads the settings; the index is read by the first
// question.
VELMORA_API velmora_code velmora_retriever_of_index(velmora_index* index,
                                                    const velmora_retriever_options* options,
                                                    velmora_retriever** retriever) VELMORA_NOEXCEPT;

// The same of a host's own index. The built-in embedder is of use when the index stores what
// velmora_model_embed made of its symbols. When this fails nothing was taken: no `release` is
// called.
VELMORA_API velmora_code velmora_retriever_of_repository(
    const velmora_repository* repository, const velmora_retriever_options* options,
    velmora_retriever** retriever) VELMORA_NOEXCEPT;

// Calls the `release` of all tables, on this thread. Null is nothing.
VELMORA_API void velmora_retriever_free(velmora_retriever* retriever) VELMORA_NOEXCEPT;

// --- Questions and answers ---

enum {
  VELMORA_TESTS_BY_QUESTION = 0,  // symbols in tests, if the question has words of tests
  VELMORA_TESTS_INCLUDED = 1,
  VELMORA_TESTS_EXCLUDED = 2
};

// What is asked for besides the question.
typedef struct velmora_ask_options {
  size_t size;
  // A folder or a file relative to the root; no text: everywhere.
  velmora_string scope;
  int32_t limit;        // how many hits at most; 0: 10
  int32_t tests;        // VELMORA_TESTS_...
  bool without_rerank;  // keep the order of the ranking
  // Take every word as it stands. Else, of an index, the capital that begins a sentence is no sign
  // of a name in code, as `velmora explore` has it; a host's own index is always asked so.
  bool verbatim;
} velmora_ask_options;

// The symbols that answer a question, best first.
typedef struct velmora_answer velmora_answer;

// The answer to a question (a sentence, keywords or a name), to be freed by the caller. `options`
// may be null.
//
// Blocks: the first question after the index changed reads it, for up to some seconds in a large
// repository, and those that come meanwhile wait for that; else it takes some milliseconds, and
// what the callbacks take. Trouble in a channel is no error: the answer tells.
VELMORA_API velmora_code velmora_ask(velmora_retriever* retriever, velmora_string query,
                                     const velmora_ask_options* options,
                                     velmora_answer** answer) VELMORA_NOEXCEPT;

// The strings live as long as the answer.
typedef struct velmora_hit {
  size_t size;
  int64_t id;                // as the index has it
  velmora_string fqn;        // fully qualified name
  velmora_string name;       // its own name
  velmora_string kind;       // "function", "class", ...
  velmora_string path;       // relative to the root
  int64_t start_line;        // as the index counts lines
  int64_t end_line;          // the last
  velmora_string signature;  // or no text
  double score;              // comparable within one answer; not the order of the hits
  // The place in each channel, from 1; 0: it did not find the symbol.
  int64_t exact_rank;     // by name
  int64_t lexical_rank;   // by the words of symbols
  int64_t file_rank;      // by the words of files
  int64_t semantic_rank;  // by meaning
} velmora_hit;

// How many hits there are. 0 for null.
VELMORA_API size_t velmora_answer_size(const velmora_answer* answer) VELMORA_NOEXCEPT;

// Fills `hit` with the one at `position`, from 0, which is the best.
VELMORA_API velmora_code velmora_answer_hit(const velmora_answer* answer, size_t position,
                                            velmora_hit* hit) VELMORA_NOEXCEPT;

enum {
  VELMORA_EXACT = 0,    // exact names
  VELMORA_LEXICAL = 1,  // BM25 over the words of each symbol
  VELMORA_FILE = 2,     // BM25 over whole files
  VELMORA_SEMANTIC = 3  // cosine over embeddings
};

// What became of a channel: "ok", "partial" (ranked, but stopped short), "unavailable" (could not
// rank) or "failed" (the log tells). Lives forever. No text for null and for other channels.
VELMORA_API velmora_string velmora_answer_channel(const velmora_answer* answer,
                                                  int32_t channel) VELMORA_NOEXCEPT;

// One line on what the ranking had to do without; no text when every channel ran in full. Lives as
// long as the answer.
VELMORA_API velmora_string velmora_answer_note(const velmora_answer* answer) VELMORA_NOEXCEPT;

// Null is nothing.
VELMORA_API void velmora_answer_free(velmora_answer* answer) VELMORA_NOEXCEPT;

#ifdef __cplusplus
}
#endif
