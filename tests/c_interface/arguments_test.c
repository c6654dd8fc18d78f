// What callers give: null, strings that are none, structs of other versions of the header.
#include "checks.h"

void test_arguments(void) {
  const velmora_string none = {NULL, 0};
  const velmora_string broken = {NULL, 3};
  const velmora_string nul = {"a\0b", 3};
  velmora_index* index = NULL;
  velmora_retriever* retriever = NULL;
  velmora_answer* answer = NULL;
  velmora_repository repository = VELMORA_INIT(velmora_repository);
  velmora_hit hit = VELMORA_INIT(velmora_hit);
  CHECK(velmora_message().data != NULL && velmora_version().size > 0);
  CODE(VELMORA_INVALID_ARGUMENT, "folder", velmora_index_update(none, NULL, NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "folder", velmora_index_update(broken, NULL, NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "folder", velmora_index_update(text(""), NULL, NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "NUL", velmora_index_open(nul, &index));
  CODE(VELMORA_INVALID_ARGUMENT, "index", velmora_index_open(text("."), NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "index", velmora_index_describe(NULL, NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "index", velmora_index_settings(NULL, NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "settings", velmora_settings_default(NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "index", velmora_retriever_of_index(NULL, NULL, &retriever));
  CODE(VELMORA_INVALID_ARGUMENT, "retriever",
       velmora_retriever_of_repository(&repository, NULL, NULL));
  CODE(VELMORA_INVALID_ARGUMENT, "repository->fingerprint",
       velmora_retriever_of_repository(&repository, NULL, &retriever));
  CODE(VELMORA_INVALID_ARGUMENT, "retriever", velmora_ask(NULL, text("x"), NULL, &answer));
  CODE(VELMORA_INVALID_ARGUMENT, "answer", velmora_answer_hit(NULL, 0, &hit));
  CODE(VELMORA_INVALID_ARGUMENT, "out", velmora_put_pair(NULL, 1, 1.0));
  CODE(VELMORA_INVALID_ARGUMENT, "level", velmora_set_log(NULL, NULL, NULL, 9));
  CODE(VELMORA_INVALID_ARGUMENT, "model", velmora_model_embed(NULL, NULL, none, NULL));
  CHECK(velmora_model_name(NULL).data == NULL && velmora_model_dimensions(NULL) == 0);
  velmora_model_close(NULL);
  CHECK(velmora_answer_size(NULL) == 0 && velmora_answer_note(NULL).data == NULL);
  velmora_index_close(NULL);
  velmora_retriever_free(NULL);
  velmora_answer_free(NULL);
}

// A copy of the first bytes of a struct, as an earlier version of the header had it: the sanitizer
// sees whoever reads or writes beyond.
static void* shorter(const void* whole, size_t size) {
  void* copy = malloc(size);
  CHECK(copy != NULL);
  memcpy(copy, whole, size);
  memcpy(copy, &size, sizeof size);
  return copy;
}

void test_struct_sizes(void) {
  const char* folder = new_folder();
  write_file(folder, "a.py", "def first():\n    pass\n\ndef second():\n    pass\n");
  velmora_update_options update = VELMORA_INIT(velmora_update_options);
  velmora_update_report report = VELMORA_INIT(velmora_update_report);
  velmora_update_options* early = shorter(&update, offsetof(velmora_update_options, largest_file));
  velmora_update_report* brief = shorter(&report, offsetof(velmora_update_report, added));
  OK(velmora_index_update(text(folder), early, brief));
  CHECK(brief->files == 1 && brief->size == offsetof(velmora_update_report, added));
  free(early);
  free(brief);

  // Settings that end before the tokenizer have the default one.
  velmora_settings whole = VELMORA_INIT(velmora_settings);
  OK(velmora_settings_default(&whole));
  whole.rrf_k = 1;
  velmora_settings* settings = shorter(&whole, offsetof(velmora_settings, tokenizer));
  velmora_index* index = NULL;
  velmora_retriever* retriever = NULL;
  velmora_answer* answer = NULL;
  velmora_retriever_options options = VELMORA_INIT(velmora_retriever_options);
  options.settings = settings;
  options.without_embedder = true;
  OK(velmora_index_open(text(folder), &index));
  OK(velmora_retriever_of_index(index, &options, &retriever));
  free(settings);
  velmora_ask_options ask = VELMORA_INIT(velmora_ask_options);
  ask.limit = 1;
  velmora_ask_options* unlimited = shorter(&ask, offsetof(velmora_ask_options, limit));
  OK(velmora_ask(retriever, text("first second"), unlimited, &answer));
  free(unlimited);
  CHECK(velmora_answer_size(answer) == 2);
  velmora_hit hit = VELMORA_INIT(velmora_hit);
  velmora_hit* named = shorter(&hit, offsetof(velmora_hit, kind));
  OK(velmora_answer_hit(answer, 0, named));
  CHECK(equal(named->name, "first"));
  free(named);
  OK(velmora_answer_hit(answer, 0, &hit));
  CHECK(hit.exact_rank == 1 && hit.score == 1.0 / 2 + 1.0 / 2 + 1.0 / 2);
  velmora_answer_free(answer);

  // A later header's struct: what the library does not know must be zero.
  struct {
    velmora_ask_options known;
    int64_t unknown;
  } later = {VELMORA_INIT(velmora_ask_options), 0};
  later.known.size = sizeof later;
  OK(velmora_ask(retriever, text("first"), &later.known, &answer));
  velmora_answer_free(answer);
  later.unknown = 1;
  CODE(VELMORA_INVALID_ARGUMENT, "options",
       velmora_ask(retriever, text("x"), &later.known, &answer));
  for (ask.size = 0; ask.size <= 12; ask.size += 12)  // 12: in the middle of a field
    CODE(VELMORA_INVALID_ARGUMENT, "size", velmora_ask(retriever, text("x"), &ask, &answer));
  ask = later.known;
  ask.size = sizeof ask;
  ask.tests = 3;
  CODE(VELMORA_INVALID_ARGUMENT, "tests", velmora_ask(retriever, text("x"), &ask, &answer));
  velmora_retriever_free(retriever);
  velmora_index_close(index);
}

static struct log {
  int records;
  int released;
} log = {0, 0};

static void count_records(void* self, int32_t level, velmora_string logger, velmora_string record) {
  CHECK(level >= VELMORA_LOG_DEBUG && strncmp(logger.data, "velmora.", 8) == 0 && record.size > 0);
  ++((struct log*)self)->records;
}

static void release_log(void* self) { ++((struct log*)self)->released; }

void test_log(void) {
  const char* folder = new_folder();
  write_file(folder, "a.py", "def first():\n    pass\n");
  OK(velmora_set_log(count_records, &log, release_log, VELMORA_LOG_DEBUG));
  OK(velmora_index_update(text(folder), NULL, NULL));
  CHECK(log.records > 0 && log.released == 0);
}

// Runs after main, and after what the library might end there.
void test_end(void) {
  const char* folder = new_folder();
  velmora_index* index = NULL;
  write_file(folder, "a.py", "def first():\n    pass\n");
  CODE(VELMORA_NO_INDEX, folder, velmora_index_open(text(folder), &index));
  OK(velmora_index_update(text(folder), NULL, NULL));
  OK(velmora_set_log(NULL, NULL, NULL, VELMORA_LOG_INFO));
  CHECK(log.released == 1);
}
