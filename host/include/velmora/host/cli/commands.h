// The commands of the velmora program. Each function adds one subcommand to the program's command
// line: its options, and a callback that runs it and sets `exit_code`. What a callback throws ends
// the program with ExitCode::failed and the error's text.
#pragma once

namespace CLI {
class App;
}

namespace velmora::host::cli {

// What the program returns to its caller.
enum class ExitCode : int {
  answered = 0,       // done; a question has an answer
  nothing_found = 1,  // it has none
  wrong_usage = 2,    // the command line cannot be understood
  failed = 3,         // anything else; the reason is on standard error
  interrupted = 130,  // by SIGINT, as by Ctrl-C: what a shell says of it
  terminated = 143,   // by SIGTERM, likewise
};

// The program's subcommands, one source file each. `app` and `exit_code` outlive the parse.
void add_clean_command(CLI::App& app, ExitCode& exit_code);
void add_embed_command(CLI::App& app, ExitCode& exit_code);
void add_explore_command(CLI::App& app, ExitCode& exit_code);
void add_import_command(CLI::App& app, ExitCode& exit_code);
void add_index_command(CLI::App& app, ExitCode& exit_code);
void add_mcp_command(CLI::App& app, ExitCode& exit_code);
void add_outline_command(CLI::App& app, ExitCode& exit_code);
void add_search_command(CLI::App& app, ExitCode& exit_code);
void add_show_command(CLI::App& app, ExitCode& exit_code);
void add_status_command(CLI::App& app, ExitCode& exit_code);

}  // namespace velmora::host::cli
