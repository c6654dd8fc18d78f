// Indexes a folder and answers a question about it: ask FOLDER QUESTION
#include <stdio.h>
#include <velmora/velmora.h>

static velmora_code show_progress(void* self, const velmora_progress* now) {
  (void)self;
  fprintf(stderr, "\r%llu of %llu files", (unsigned long long)now->files_done,
          (unsigned long long)now->files);
  return VELMORA_OK;
}

static void show_answer(const velmora_answer* answer) {
  fprintf(stderr, "\n");
  for (size_t i = 0; i < velmora_answer_size(answer); ++i) {
    velmora_hit hit = VELMORA_INIT(velmora_hit);
    if (velmora_answer_hit(answer, i, &hit) != VELMORA_OK) return;
    printf("%s:%lld %s %s\n", hit.path.data, (long long)hit.start_line, hit.kind.data,
           hit.fqn.data);
  }
  if (velmora_answer_note(answer).data != NULL)
    fprintf(stderr, "%s\n", velmora_answer_note(answer).data);
}

int main(int count, char** arguments) {
  if (count != 3) {
    fprintf(stderr, "ask FOLDER QUESTION\n");
    return 2;
  }
  const velmora_string folder = velmora_string_of(arguments[1]);
  const velmora_string question = velmora_string_of(arguments[2]);
  velmora_update_options update = VELMORA_INIT(velmora_update_options);
  update.progress = show_progress;
  velmora_ask_options options = VELMORA_INIT(velmora_ask_options);
  options.limit = 5;

  velmora_index* index = NULL;
  velmora_retriever* retriever = NULL;
  velmora_answer* answer = NULL;
  const bool answered = velmora_index_update(folder, &update, NULL) == VELMORA_OK &&
                        velmora_index_open(folder, &index) == VELMORA_OK &&
                        velmora_retriever_of_index(index, NULL, &retriever) == VELMORA_OK &&
                        velmora_ask(retriever, question, &options, &answer) == VELMORA_OK;
  if (answered)
    show_answer(answer);
  else
    fprintf(stderr, "\n%s\n", velmora_message().data);
  velmora_answer_free(answer);
  velmora_retriever_free(retriever);
  velmora_index_close(index);
  return answered ? 0 : 3;
}
