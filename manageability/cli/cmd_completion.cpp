// SPDX-License-Identifier: Apache-2.0
//
// `zpf completion`: scripts for shells.
// A script walks over the words before the cursor to find the command and how many arguments it has, as the parser
// would, and then offers what the parser takes there. Both shells read the same tables.
#include <fmt/format.h>

#include "completion_words.hpp"
#include "on_chosen.hpp"

namespace zpf::cli {

namespace {

using Commands = std::vector<CommandWords>;

std::string quoted(const std::string& text)
{
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string{"'\\''"} : std::string{c};
    }
    return out + "'";
}

std::string joined(const std::vector<std::string>& words)
{
    std::string out;
    for (const std::string& word : words) {
        out += (out.empty() ? "" : " ") + word;
    }
    return out;
}

/// What fills `offer` with a value's words, or names another source of them.
std::string offer_of(const ValueWords& value)
{
    switch (value.kind) {
    case ValueWords::words:
        return "offer=" + quoted(joined(value.list));
    case ValueWords::file:
        return "source=files";
    case ValueWords::folder:
        return "source=folders";
    case ValueWords::attenuator:
        return "offer=$(\"$program\" show --names 2>/dev/null)";
    case ValueWords::other:
        break;
    }
    return "source=nothing";
}

/// The branches that follow one word: a command is gone into, an option's value skipped, an argument counted.
std::string walk_branches(const Commands& commands)
{
    std::string out = "    case \"$command:$word\" in\n";
    for (const CommandWords& command : commands) {
        for (const auto& [name, help] : command.commands) {
            out += fmt::format("    {}) command={} ;;\n", quoted(command.path + ":" + name),
                               quoted(command.path.empty() ? name : command.path + " " + name));
        }
        for (const OptionWords& option : command.options) {
            for (const std::string& name : option.names) {
                if (option.takes_value) {
                    out += fmt::format("    {}) ((i += 1)) ;;\n", quoted(command.path + ":" + name));
                }
            }
        }
    }
    return out + "    *:-*) ;;\n    *) ((arguments += 1)) ;;\n    esac\n";
}

/// The branches for a value after an option.
std::string value_branches(const Commands& commands)
{
    std::string out = "  case \"$command:$previous\" in\n";
    for (const CommandWords& command : commands) {
        for (const OptionWords& option : command.options) {
            for (const std::string& name : option.names) {
                if (option.takes_value) {
                    out += fmt::format("  {}) {} ;;\n", quoted(command.path + ":" + name), offer_of(option.value));
                }
            }
        }
    }
    return out + "  esac\n";
}

std::string argument_branches(const Commands& commands)
{
    std::string out = "    case \"$command:$arguments\" in\n";
    for (const CommandWords& command : commands) {
        for (std::size_t i = 0; i < command.arguments.size(); ++i) {
            out += fmt::format("    {}) {} ;;\n", quoted(fmt::format("{}:{}", command.path, i)),
                               offer_of(command.arguments[i]));
        }
    }
    return out + "    esac\n";
}

std::string bash_word_branches(const Commands& commands)
{
    std::string out = "    case \"$command\" in\n";
    for (const CommandWords& command : commands) {
        std::vector<std::string> words;
        for (const OptionWords& option : command.options) {
            words.insert(words.end(), option.names.begin(), option.names.end());
        }
        std::vector<std::string> names;
        for (const auto& [name, help] : command.commands) {
            names.push_back(name);
        }
        out += fmt::format("    {}) options={} commands={} ;;\n", quoted(command.path), quoted(joined(words)),
                           quoted(joined(names)));
    }
    return out + "    esac\n";
}

std::string bash_script(const Commands& commands)
{
    return R"(# SPDX-License-Identifier: Apache-2.0
#
# Completion of zpf's command line for bash. Made by "zpf completion bash".
_zpf() {
  local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local command='' word='' offer='' source='' options='' commands='' i arguments=0
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
)" + walk_branches(commands) +
           "  done\n" + value_branches(commands) + R"(  if [[ -z $offer && -z $source ]]; then
)" + bash_word_branches(commands) +
           argument_branches(commands) + R"(    if [[ $current == -* ]]; then
      offer=$options source=''
    elif [[ -n $commands ]]; then
      offer="$commands $offer"
    fi
  fi
  case "$source" in
  files) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
  folders) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$current") ;;
  nothing) ;;
  *) mapfile -t COMPREPLY < <(compgen -W "$offer" -- "$current") ;;
  esac
}
complete -F _zpf zpf
)";
}

/// "name:help" as _describe reads it.
std::string described(const std::string& name, const std::string& help)
{
    std::string escaped;
    for (const char c : name) {
        escaped += c == ':' ? std::string{"\\:"} : std::string{c};
    }
    return quoted(escaped + ":" + help);
}

std::string zsh_word_branches(const Commands& commands)
{
    std::string out = "    case \"$command\" in\n";
    for (const CommandWords& command : commands) {
        out += "    " + quoted(command.path) + ")\n      options=(\n";
        for (const OptionWords& option : command.options) {
            for (const std::string& name : option.names) {
                out += "        " + described(name, option.help) + "\n";
            }
        }
        out += "      )\n      commands=(\n";
        for (const auto& [name, help] : command.commands) {
            out += "        " + described(name, help) + "\n";
        }
        out += "      ) ;;\n";
    }
    return out + "    esac\n";
}

std::string zsh_script(const Commands& commands)
{
    return R"(#compdef zpf
# SPDX-License-Identifier: Apache-2.0
#
# Completion of zpf's command line for zsh. Made by "zpf completion zsh".
_zpf() {
  local program=$words[1] current=$words[CURRENT] previous=$words[CURRENT-1]
  local command='' word='' offer='' source='' i arguments=0
  local -a options commands
  for ((i = 2; i < CURRENT; i++)); do
    word=$words[i]
)" + walk_branches(commands) +
           "  done\n" + value_branches(commands) + R"(  if [[ -z $offer && -z $source ]]; then
)" + zsh_word_branches(commands) +
           argument_branches(commands) + R"(    if [[ $current == -* ]]; then
      _describe -o option options
      return
    elif (( $#commands )); then
      _describe command commands
    fi
  fi
  case "$source" in
  files) _files ;;
  folders) _files -/ ;;
  nothing) ;;
  *) [[ -n $offer ]] && compadd -- ${=offer} ;;
  esac
}
if [[ $funcstack[1] == _zpf ]]; then
  _zpf "$@"
else
  compdef _zpf zpf
fi
)";
}

struct CompletionOptions {
    std::string shell;
    const CLI::App* app = nullptr;
    Colour colour = Colour::automatic;
};

int completion(const CompletionOptions& options)
{
    const Commands commands = completion_words(*options.app);
    fmt::print("{}", options.shell == "bash" ? bash_script(commands) : zsh_script(commands));
    return kDone;
}

} // namespace

void add_completion(CLI::App& app, Chosen& chosen)
{
    const auto options = std::make_shared<CompletionOptions>();
    options->app = &app;
    CLI::App& command = *app.add_subcommand("completion", "Prints a script that completes zpf's command line");
    command.add_option("SHELL", options->shell, "For which shell")->required()->check(CLI::IsMember({"bash", "zsh"}));
    command.footer("bash: source <(zpf completion bash)\n"
                   "zsh:  source <(zpf completion zsh), after compinit\n"
                   "An installed zpf has both in place.");
    on_chosen(command, chosen, options, completion);
}

} // namespace zpf::cli
