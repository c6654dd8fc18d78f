// Indexes of folders: made, brought up to date, described and asked.
#define _POSIX_C_SOURCE 200809L
#include <unistd.h>

#include "checks.h"

static const char* const RETRY =
    "def delay_retry(attempt):\n"
    "    \"\"\"Waits before another attempt.\"\"\"\n"
    "\n"
    "class Queue:\n"
    "    pass\n";

// Two sources, a link that is left out, and a setting.
static const char* sample_folder(void) {
  const char* folder = new_folder();
  char link[8192];
  write_file(folder, "retry.py", RETRY);
  write_file(folder, "notes.c", "int notes(void) { return 0; }\n");
  write_file(folder, ".velmora.toml", "[ranking]\nrrf_k = 17\n");
  snprintf(link, sizeof link, "%s/link.py", folder);
  CHECK(symlink("retry.py", link) == 0);
  return folder;
}

static void ask(velmora_retriever* retriever, const char* question, bool verbatim,
                velmora_answer** answer) {
  velmora_ask_options options = VELMORA_INIT(velmora_ask_options);
  options.verbatim = verbatim;
  OK(velmora_ask(retriever, text(question), &options, answer));
}

static void check_answers(velmora_retriever* retriever, const char* folder) {
  velmora_answer* answer = NULL;
  velmora_hit hit = VELMORA_INIT(velmora_hit);
  OK(velmora_ask(retriever, text("Where is the retry delayed?"), NULL, &answer));
  OK(velmora_answer_hit(answer, 0, &hit));
  CHECK(equal(hit.fqn, "retry.delay_retry") && strcmp(hit.path.data, "retry.py") == 0);
  CHECK(equal(hit.kind, "function") && hit.start_line == 1 && hit.end_line == 2);
  CHECK(strstr(hit.signature.data, "delay_retry(attempt)") != NULL && hit.score > 0);
  CHECK(hit.exact_rank == 0 && hit.lexical_rank == 1 && hit.semantic_rank == 1);
  CHECK(equal(velmora_answer_channel(answer, VELMORA_SEMANTIC), "ok"));
  CHECK(velmora_answer_channel(answer, 4).data == NULL);
  CHECK(velmora_answer_note(answer).data == NULL);
  CODE(VELMORA_INVALID_ARGUMENT, "position",
       velmora_answer_hit(answer, velmora_answer_size(answer), &hit));
  velmora_answer_free(answer);

  // A capital that begins a sentence is no name in code, unless it is taken as it stands.
  write_file(folder, "z.py", "def delay():\n    pass\n");
  write_file(folder, "columns.py", "def columns():\n    \"\"\"The delay of columns.\"\"\"\n");
  OK(velmora_index_update(text(folder), NULL, NULL));
  for (int verbatim = 0; verbatim < 2; ++verbatim) {
    ask(retriever, "Delay the columns", verbatim == 1, &answer);
    OK(velmora_answer_hit(answer, 0, &hit));
    CHECK(equal(hit.name, verbatim == 1 ? "delay" : "columns"));
    velmora_answer_free(answer);
  }
}

void test_index(void) {
  const char* folder = sample_folder();
  velmora_update_report report = VELMORA_INIT(velmora_update_report);
  OK(velmora_index_update(text(folder), NULL, &report));
  CHECK(report.files == 2 && report.added == 2 && report.skipped == 1 && report.symbols >= 3);
  CHECK(report.embedded >= 3);

  velmora_index* index = NULL;
  velmora_index_info info = VELMORA_INIT(velmora_index_info);
  OK(velmora_index_open(text(folder), &index));
  OK(velmora_index_describe(index, &info));
  CHECK(equal(info.root, folder) && info.symbols == report.symbols && info.files == 2);
  CHECK(strcmp(info.file.data + strlen(folder), "/.velmora/index.db") == 0 && info.made_here);
  velmora_settings settings = VELMORA_INIT(velmora_settings);
  OK(velmora_index_settings(index, &settings));
  CHECK(settings.rrf_k == 17 && settings.weight_name > 0);

  velmora_retriever* retriever = NULL;
  OK(velmora_retriever_of_index(index, NULL, &retriever));
  velmora_index_close(index);  // the retriever goes on
  check_answers(retriever, folder);
  velmora_retriever_free(retriever);
}

static velmora_code stop(void* self, const velmora_progress* now) {
  (void)self;
  (void)now;
  velmora_set_message(text("that is enough"));
  return VELMORA_STOPPED;
}

void test_update(void) {
  const char* folder = sample_folder();
  velmora_update_options update = VELMORA_INIT(velmora_update_options);
  velmora_index* index = NULL;
  update.progress = stop;
  CODE(VELMORA_STOPPED, "that is enough", velmora_index_update(text(folder), &update, NULL));
  CODE(VELMORA_NO_INDEX, folder, velmora_index_open(text(folder), &index));

  update.model = text("/no.model");
  CODE(VELMORA_OTHER, "/no.model", velmora_index_update(text(folder), &update, NULL));

  char file[8192];
  write_file(folder, "index.db", "no index");
  snprintf(file, sizeof file, "%s/index.db", folder);
  CODE(VELMORA_UNUSABLE_INDEX, file, velmora_index_open(text(file), &index));
  CHECK(index == NULL);

  const char* home = getenv("HOME");
  CHECK(setenv("HOME", folder, 1) == 0);
  CODE(VELMORA_CONSENT_NEEDED, folder, velmora_index_update(text(folder), NULL, NULL));
  CHECK(setenv("HOME", home == NULL ? "/" : home, 1) == 0);
  CHECK(setenv("VELMORA_HOME", folder, 1) == 0);
  CODE(VELMORA_OTHER, folder, velmora_index_update(text(folder), NULL, NULL));
  CHECK(unsetenv("VELMORA_HOME") == 0);
}
