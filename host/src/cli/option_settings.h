// Options that take their values from the environment and the user's settings where the command
// line does not give them. settings/keys.h says which these are. What a repository may set is none
// of them: it is read below the command line, where the repository is known.
#pragma once

namespace CLI {
class App;
}

namespace velmora::host::cli {

// Gives the options of the commands that were parsed their values. To be called once the command
// line has been parsed, before a command runs. Reads nothing when no command has such an option.
// Throws SettingsError.
void take_settings(CLI::App& app);

// Lets the help of the commands name the variables of these options. To be called for help alone:
// the parser would read the variables itself, and could not say whose value is wrong.
void name_variables(CLI::App& app);

}  // namespace velmora::host::cli
