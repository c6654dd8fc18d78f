// A host's own index, embedding model and decision model, in C.
#include "checks.h"

enum { SYMBOLS = 3 };

struct symbol {
  int64_t id;
  const char* name;
  const char* docstring;
};

static const struct symbol ALL[SYMBOLS] = {{-7, "read_config", "Reads a file. Then more."},
                                           {1, "load_config", "Loads a file."},
                                           {2, "drop_config", NULL}};

// What the functions below are to do, and what became of them.
struct host {
  velmora_code fails;  // what one of them returns, ...
  const char* where;   // ... by its name
  int open_cursors;
  int released;
  size_t decided;
};

static velmora_code result_of(struct host* host, const char* where) {
  if (host->where == NULL || strcmp(host->where, where) != 0) return VELMORA_OK;
  velmora_set_message(text("Not today"));
  return host->fails;
}

static void release(void* self) { ++((struct host*)self)->released; }

static velmora_code fingerprint(void* self, velmora_fingerprint* out) {
  OK(velmora_put_fingerprint(out, text("one")));
  return result_of(self, "fingerprint");
}

static velmora_code open_cursor(void* self, const velmora_string* languages, size_t language_count,
                                const velmora_string* kinds, size_t kind_count, void** cursor) {
  size_t* position = calloc(1, sizeof *position);
  size_t python = 0, function = 0;
  for (size_t i = 0; i < language_count; ++i) python += equal(languages[i], "python");
  for (size_t i = 0; i < kind_count; ++i) function += equal(kinds[i], "function");
  CHECK(python == 1 && function == 1);
  const velmora_code code = result_of(self, "open");
  if (code != VELMORA_OK) {
    free(position);
    return code;
  }
  ++((struct host*)self)->open_cursors;
  *cursor = position;
  return VELMORA_OK;
}

static velmora_code next_row(void* self, void* cursor, velmora_symbol* row, bool* is_row) {
  size_t* position = cursor;
  CHECK(row->size == sizeof *row && row->docstring.data == NULL);
  if (*position == SYMBOLS) return result_of(self, "next");
  const struct symbol* symbol = &ALL[(*position)++];
  row->id = symbol->id;
  row->fqn = row->name = text(symbol->name);
  row->kind = text("function");
  row->path = text("config.py");
  row->start_line = row->end_line = (int64_t)*position;
  row->docstring = text(symbol->docstring);
  *is_row = true;
  return VELMORA_OK;
}

static void close_cursor(void* self, void* cursor) {
  --((struct host*)self)->open_cursors;
  free(cursor);
}

static velmora_code nearest(void* self, const float* values, size_t count, velmora_string model,
                            int64_t top_k, velmora_pairs* out) {
  CHECK(count == 2 && values[0] == 0.5F && values[1] == -1.0F && equal(model, "tiny"));
  CHECK(top_k >= 1);
  OK(velmora_put_pair(out, 2, 0.9));
  OK(velmora_put_pair(out, -7, 0.1));
  return result_of(self, "nearest");
}

static velmora_code docstrings(void* self, const int64_t* ids, size_t count,
                               velmora_docstrings* out) {
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = 0; j < SYMBOLS; ++j) {
      if (ids[i] == ALL[j].id) OK(velmora_put_docstring(out, ids[i], text(ALL[j].docstring)));
    }
  }
  return result_of(self, "docstrings");
}

static velmora_code embed(void* self, velmora_string query, velmora_vector* out) {
  const float vector[2] = {0.5F, -1.0F};
  CHECK(query.size > 0);
  OK(velmora_put_vector(out, vector, 2, text("tiny")));
  return result_of(self, "embed");
}

static velmora_code consent(void* self, bool* given) {
  *given = true;
  return result_of(self, "consent");
}

// Puts the last one first. What it is shown of a symbol ends with the docstring's first sentence.
static velmora_code decide(void* self, const velmora_decision* decision, double* probabilities) {
  struct host* host = self;
  host->decided = decision->count;
  for (size_t i = 0; i < decision->count; ++i) {
    probabilities[i] = (double)i / (double)decision->count;
    CHECK(strstr(decision->candidates[i].data, "function") != NULL);
    CHECK(strstr(decision->candidates[i].data, "Then more") == NULL);
    CHECK((strstr(decision->candidates[i].data, "read_config") != NULL) ==
          (strstr(decision->candidates[i].data, "Reads a file.") != NULL));
    CHECK(decision->questions[i].size > 0);
  }
  CHECK(equal(decision->question, "config file") && decision->version.size > 0);
  return result_of(host, "decide");
}

static velmora_repository repository_of(struct host* host) {
  velmora_repository repository = VELMORA_INIT(velmora_repository);
  repository.self = host;
  repository.release = release;
  repository.fingerprint = fingerprint;
  repository.open = open_cursor;
  repository.next = next_row;
  repository.close = close_cursor;
  repository.nearest = nearest;
  repository.docstrings = docstrings;
  return repository;
}

static velmora_code make(struct host* host, velmora_retriever** retriever) {
  const velmora_repository repository = repository_of(host);
  velmora_embedder embedder = VELMORA_INIT(velmora_embedder);
  velmora_decider decider = VELMORA_INIT(velmora_decider);
  velmora_retriever_options options = VELMORA_INIT(velmora_retriever_options);
  embedder.self = decider.self = host;
  embedder.release = decider.release = release;
  embedder.embed = embed;
  decider.consent = consent;
  if (result_of(host, "make") == VELMORA_OK) decider.decide = decide;
  options.embedder = &embedder;
  options.decider = &decider;
  return velmora_retriever_of_repository(&repository, &options, retriever);
}

void test_repository(void) {
  struct host host = {VELMORA_OK, NULL, 0, 0, 0};
  velmora_retriever* retriever = NULL;
  velmora_answer* answer = NULL;
  velmora_ask_options options = VELMORA_INIT(velmora_ask_options);
  velmora_hit hit = VELMORA_INIT(velmora_hit);
  OK(make(&host, &retriever));
  options.without_rerank = true;
  OK(velmora_ask(retriever, text("config file"), &options, &answer));
  CHECK(velmora_answer_size(answer) == 3 && host.decided == 0);
  // The words of two and the vectors of two find them; only "read_config" has both, as the order of
  // its neighbours says.
  OK(velmora_answer_hit(answer, 0, &hit));
  CHECK(hit.id == -7 && hit.semantic_rank == 2 && hit.exact_rank == 0);
  CHECK(hit.signature.data == NULL && hit.start_line == 1);
  velmora_answer_free(answer);

  options.without_rerank = false;
  options.limit = 2;
  OK(velmora_ask(retriever, text("config file"), &options, &answer));
  CHECK(velmora_answer_size(answer) == 2 && host.decided == 3);
  OK(velmora_answer_hit(answer, 0, &hit));
  CHECK(hit.id != -7);
  velmora_answer_free(answer);
  CHECK(host.open_cursors == 0 && host.released == 0);
  velmora_retriever_free(retriever);
  CHECK(host.released == 3);
}

// What a callback's error does to a question, by its code and its place.
void test_callback_errors(void) {
  static const struct {
    const char* where;
    velmora_code fails;
    velmora_code asked;
    const char* message;  // of the call, or, when it answers, in the note
  } CASES[] = {
      {"fingerprint", VELMORA_TRY_AGAIN_LATER, VELMORA_TRY_AGAIN_LATER, "Not today"},
      {"fingerprint", VELMORA_BUSY, VELMORA_BUSY, "Not today"},
      {"open", VELMORA_OUT_OF_MEMORY, VELMORA_OUT_OF_MEMORY, "memory"},
      {"next", 4711, VELMORA_OTHER, "Not today"},
      {"next", VELMORA_STOPPED, VELMORA_STOPPED, "Not today"},
      {"embed", VELMORA_TRY_AGAIN_LATER, VELMORA_OK, "not today"},
      {"embed", VELMORA_OTHER, VELMORA_OK, "embedding the query failed"},
      {"embed", VELMORA_STOPPED, VELMORA_STOPPED, "Not today"},
      {"nearest", VELMORA_OTHER, VELMORA_OK, "embedding search failed"},
      {"nearest", VELMORA_STOPPED, VELMORA_STOPPED, "Not today"},
      {"docstrings", VELMORA_OTHER, VELMORA_OK, "rerank"},
      {"consent", VELMORA_OTHER, VELMORA_OK, "rerank"},
      {"decide", VELMORA_TRY_AGAIN_LATER, VELMORA_OK, "rerank"},
      {"decide", VELMORA_STOPPED, VELMORA_STOPPED, "Not today"},
      {"make", VELMORA_OTHER, VELMORA_OK, ""},
  };
  for (size_t i = 0; i < sizeof CASES / sizeof CASES[0]; ++i) {
    struct host host = {CASES[i].fails, CASES[i].where, 0, 0, 0};
    velmora_retriever* retriever = NULL;
    velmora_answer* answer = NULL;
    if (strcmp(CASES[i].where, "make") == 0) {
      CODE(VELMORA_INVALID_ARGUMENT, "options->decider->decide", make(&host, &retriever));
      CHECK(retriever == NULL && host.released == 0);
      continue;
    }
    OK(make(&host, &retriever));
    CODE(CASES[i].asked, CASES[i].message,
         velmora_ask(retriever, text("config file"), NULL, &answer));
    CHECK((answer != NULL) == (CASES[i].asked == VELMORA_OK));
    if (answer != NULL) CHECK(strstr(velmora_answer_note(answer).data, CASES[i].message) != NULL);
    velmora_answer_free(answer);
    velmora_retriever_free(retriever);
    CHECK(host.open_cursors == 0 && host.released == 3);
  }
}
