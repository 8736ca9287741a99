#include "Manual.h"

#include <algorithm>
#include <cctype>
#include <iterator>
#include <utility>
#include <vector>

#include "CommandLine.h"
#include "Formats.h"
#include "Text.h"

namespace Tool {

namespace {

using Parameter = Command::Parameter;

/// A command and all words that call it.
using CalledCommand = std::pair<Command const*, std::string>;

/// The command and all below it, in the order of the help.
std::vector<CalledCommand> GetAllCommands(Command const& command, std::string const& path) {
  std::vector<CalledCommand> all = {{&command, path}};
  for (auto const& child : command.GetCommands()) {
    auto below = GetAllCommands(*child, path + ' ' + child->GetName());
    std::move(below.begin(), below.end(), std::back_inserter(all));
  }
  return all;
}

std::vector<Parameter> GetOptions(Command const& command) {
  std::vector<Parameter> options;
  for (Parameter const& parameter : command.GetParameters()) {
    if (parameter.kind != Command::Kind::Argument) options.push_back(parameter);
  }
  return options;
}

// The manual page

/// Options that so many commands have in common are told once.
constexpr long kMinSharers = 4;

/// What stands for characters that say something to the formatter.
constexpr std::pair<char, char const*> kEscapes[] = {{'\\', "\\e"}, {'-', "\\-"}, {'\'', "\\(aq"}, {'"', "\\(dq"}};

/// A piece of text for the formatter, none of which is a request.
std::string Roff(std::string const& text) {
  std::string roff = text.substr(0, 1) == "." ? "\\&" : "";
  for (char const c : text) {
    auto const* const escape =
        std::find_if(std::begin(kEscapes), std::end(kEscapes), [c](auto const& other) { return other.first == c; });
    if (escape != std::end(kEscapes)) {
      roff += escape->second;
    } else {
      roff += c;
    }
  }
  return roff;
}

std::string Bold(std::string const& text) {
  return "\\fB" + Roff(text) + "\\fR";
}

std::string Paragraph(std::string const& text) {
  return ".PP\n" + Roff(text) + '\n';
}

/// A phrase of the help as a sentence.
std::string Sentence(std::string const& phrase) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(phrase.front()))) + phrase.substr(1) + '.';
}

/// How the command is called: its words in bold, what follows as it is.
std::string Call(CalledCommand const& called) {
  auto const& [command, path] = called;
  return Bold(path) + Roff(command->MakeUse(path).substr(path.size()));
}

std::string OptionItem(Parameter const& option) {
  std::vector<std::string> names;
  for (std::string const& name : Split(option.names, ',')) names.push_back(Bold(name));
  std::string const value = option.value_name.empty() ? "" : "\\fI" + Roff(option.value_name) + "\\fR";
  std::string const blank = option.kind == Command::Kind::Option ? " " : "";
  return ".TP\n" + Join(names, ", ") + blank + value + '\n' + Roff(option.help) + '\n';
}

std::string Examples(Command const& command) {
  std::string text;
  for (auto const& [line, what] : command.GetExamples()) text += ".TP\n" + Bold(line) + '\n' + Roff(what) + '\n';
  return text;
}

bool IsTheSame(Parameter const& a, Parameter const& b) {
  return a.names == b.names && a.value_name == b.value_name && a.help == b.help;
}

std::vector<Parameter> FindSharedOptions(std::vector<CalledCommand> const& commands) {
  std::vector<Parameter> all;
  for (CalledCommand const& called : commands) {
    for (Parameter& option : GetOptions(*called.first)) all.push_back(std::move(option));
  }
  std::vector<Parameter> shared;
  for (Parameter const& option : all) {
    auto const is_same = [&](Parameter const& other) { return IsTheSame(option, other); };
    if (std::count_if(all.begin(), all.end(), is_same) >= kMinSharers &&
        std::none_of(shared.begin(), shared.end(), is_same)) {
      shared.push_back(option);
    }
  }
  return shared;
}

/// What the page says of one command.
std::string Section(CalledCommand const& called, std::vector<Parameter> const& shared) {
  Command const& command = *called.first;
  std::string page = ".SS \"" + Call(called) + "\"\n" + Roff(Sentence(command.GetSummary())) + '\n';
  for (Parameter const& parameter : command.GetParameters()) {
    if (parameter.kind == Command::Kind::Argument) {
      page += ".TP\n\\fI" + Roff(parameter.value_name) + "\\fR\n" + Roff(parameter.help) + '\n';
    }
  }
  std::string group;
  std::vector<std::string> shared_names;
  for (Parameter const& option : GetOptions(command)) {
    if (std::any_of(shared.begin(), shared.end(), [&](Parameter const& other) { return IsTheSame(option, other); })) {
      shared_names.push_back(Bold(option.GetName()));
      continue;
    }
    if (option.group != group) page += ".PP\n" + Roff(option.group) + ":\n";
    group = option.group;
    page += OptionItem(option);
  }
  if (!shared_names.empty()) page += ".PP\nCommon options: " + Join(shared_names, ", ") + "; see below.\n";
  for (std::string const& paragraph : command.GetParagraphs()) page += Paragraph(paragraph);
  return page + Examples(command);
}

// The completion

/// The files that a value of this name is one of, as their extensions; none where that is not told.
std::vector<std::string> FindExtensions(Parameter const& parameter) {
  std::string const name = parameter.value_name.substr(0, parameter.value_name.find('['));
  if (auto const dot = name.find('.'); dot != std::string::npos) return {name.substr(dot + 1)};
  if (name == "OUT") return GetWriteExtensions();
  if (name == "DB") return {"slicedb"};
  bool const is_slice_file =
      parameter.kind == Command::Kind::Argument ? name == "IN" || name == "FILE" : name == "OTHER";
  return is_slice_file ? GetReadExtensions() : std::vector<std::string>();
}

std::string OfferWords(std::vector<std::string> const& words) {
  return "_slicedata_words " + Join(words, " ");
}
std::string OfferFiles(std::vector<std::string> const& extensions) {
  return "_slicedata_files" + (extensions.empty() ? "" : ' ' + Join(extensions, " "));
}

/// What the script does to complete the value of an option.
std::string OfferValues(Parameter const& option) {
  if (!option.choices.empty()) return OfferWords(option.choices);
  auto const extensions = FindExtensions(option);
  if (!extensions.empty() || option.value_name == "DIR") return OfferFiles(extensions);
  return option.value_name == "FILE" ? "true" : "compopt +o default";
}

/// What the script does where no value of an option is asked for.
std::string OfferArguments(Command const& command) {
  std::vector<std::string> words;
  for (auto const& child : command.GetCommands()) words.push_back(child->GetName());
  if (!words.empty()) return OfferWords(words);

  std::vector<std::string> extensions;
  for (Parameter const& parameter : command.GetParameters()) {
    if (parameter.kind != Command::Kind::Argument) continue;
    auto const some = FindExtensions(parameter);
    extensions.insert(extensions.end(), some.begin(), some.end());
  }
  return extensions.empty() ? "_slicedata_words \"${options[@]}\"" : OfferFiles(extensions);
}

/// The case of the command that `path` calls, which begins behind the program's name.
std::string MakeCase(Command const& command, std::string const& path) {
  std::vector<std::string> names = {"--help"};
  if (path.empty()) names.emplace_back("--version");
  std::vector<std::pair<std::string, std::string>> values;  // what is offered behind which options
  for (Parameter const& option : GetOptions(command)) {
    names.push_back(option.GetName());
    if (option.kind != Command::Kind::Option) continue;
    std::string const offer = OfferValues(option);
    auto value = std::find_if(values.begin(), values.end(), [&](auto const& other) { return other.first == offer; });
    if (value == values.end()) value = values.insert(values.end(), {offer, ""});
    std::string& patterns = value->second;
    for (std::string const& name : Split(option.names, ',')) patterns += (patterns.empty() ? "" : " | ") + name;
  }

  std::string text = "    \"" + path + "\")\n      options=(" + Join(names, " ") + ")\n      case $previous in\n";
  for (auto const& [offer, patterns] : values) text += "        " + patterns + ") " + offer + " ;;\n";
  return text + "        *) " + OfferArguments(command) + " ;;\n      esac\n      ;;\n";
}

constexpr char const* kCompletionHead = R"(# Completion for bash, made by the program itself.

_slicedata_words() {  # WORD...: one of these
  compopt +o default
  mapfile -t COMPREPLY < <(compgen -W "$*" -- "$current")
  [[ ${COMPREPLY[0]} != *[:=] ]] || compopt -o nospace
}

_slicedata_files() {  # EXTENSION...: files of these, and folders
  local extension
  compopt -o filenames
  mapfile -t COMPREPLY < <(
    compgen -d -- "$current"
    for extension; do compgen -f -X "!*.$extension" -- "$current"; done
  )
}

_slicedata() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' options=() i
  # --option=value comes in three pieces.
  if [[ $current == = ]]; then
    current=
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  for ((i = 1; i < COMP_CWORD; ++i)); do
    case "$command ${COMP_WORDS[i]}" in
)";

constexpr char const* kCompletionTail = R"(  esac
  [[ $current != -* || ${#COMPREPLY[@]} -gt 0 ]] || _slicedata_words "${options[@]}"
}

complete -o default -F _slicedata slicedata
)";

}  // namespace

std::string MakeManualPage(Command const& program, std::string const& version) {
  auto const commands = GetAllCommands(program, program.GetName());
  auto const shared = FindSharedOptions(commands);

  std::string page = ".TH " + program.GetName() + " 1 \"\" \"" + program.GetName() + ' ' + version +
                     "\" \"User Commands\"\n.nh\n.ad l\n.SH NAME\n" + program.GetName() + " \\- " +
                     Roff(program.GetSummary()) + "\n.SH SYNOPSIS\n";
  for (CalledCommand const& called : commands) {
    if (called.first->GetCommands().empty()) page += Call(called) + "\n.br\n";
  }
  page += ".SH DESCRIPTION\n";
  for (std::string const& paragraph : program.GetParagraphs()) page += Paragraph(paragraph);
  page += ".SH COMMANDS\n";
  for (auto called = commands.begin() + 1; called != commands.end(); ++called) page += Section(*called, shared);
  page += ".SH COMMON OPTIONS\n";
  for (Parameter const& option : shared) page += OptionItem(option);
  return page + ".SH EXAMPLES\n" + Examples(program);
}

std::string MakeBashCompletion(Command const& program) {
  std::string words;
  std::string cases;
  for (auto const& [command, path] : GetAllCommands(program, "")) {
    if (!path.empty()) words += (words.empty() ? "      \"" : " | \"") + path + '"';
    cases += MakeCase(*command, path);
  }
  return kCompletionHead + words + ") command+=\" ${COMP_WORDS[i]}\" ;;\n      *) break ;;\n    esac\n  done\n" +
         "  COMPREPLY=()\n  case $command in\n" + cases + kCompletionTail;
}

}  // namespace Tool
