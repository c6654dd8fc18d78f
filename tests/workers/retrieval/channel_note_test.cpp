#include "workers/retrieval/channel_note.h"

#include <gtest/gtest.h>

namespace velmora::workers::retrieval::internal {
namespace {

TEST(ChannelNote, TellsWhatWasMissing) {
  const Channel ok;
  const Channel silent{{}, UNAVAILABLE, std::nullopt};
  const Channel no_text{{}, UNAVAILABLE, std::string(NO_FTS5)};
  const Channel no_model{{}, UNAVAILABLE, "no embedding model is configured"};
  const Channel failed{{}, FAILED, "embedding the query failed (see the log)"};
  const Channel partial{
      {}, PARTIAL, "meaning searched only the 2400 nearest embeddings, 7 of them in scope"};
  const std::string searched =
      "Meaning searched only the 2400 nearest embeddings, 7 of them in scope.";
  const struct {
    Channel exact, lexical, file, semantic;
    std::optional<std::string> note;
  } cases[] = {
      {ok, ok, ok, ok, std::nullopt},
      {ok, ok, ok, silent, std::nullopt},
      {ok, ok, ok, no_model, "Ranked by name and text only: no embedding model is configured."},
      {ok, no_text, no_text, ok,
       "Ranked by name and meaning only: this SQLite has no FTS5 for text search."},
      {ok, no_text, no_text, no_model,
       "Ranked by name only: this SQLite has no FTS5 for text search; no embedding model is "
       "configured."},
      {ok, ok, ok, failed,
       "Ranked by name and text only: embedding the query failed (see the log)."},
      {ok, ok, ok, partial, searched},
      {ok, ok, no_text, partial,
       "Ranked by name and text and meaning only: this SQLite has no FTS5 for text search. " +
           searched},
      {no_model, no_text, failed, no_text,
       "Ranked by nothing only: no embedding model is configured; this SQLite has no FTS5 for text "
       "search; embedding the query failed (see the log)."}};
  for (const auto& each : cases) {
    EXPECT_EQ(channel_note({{EXACT, each.exact},
                            {LEXICAL, each.lexical},
                            {FILE, each.file},
                            {SEMANTIC, each.semantic}}),
              each.note);
  }
}

}  // namespace
}  // namespace velmora::workers::retrieval::internal
