#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <map>
#include <utility>

#include "Console.h"
#include "Text.h"
#include "Trouble.h"

namespace Tool {

namespace {

// What the parsing library gives for a flag alone.
constexpr char const* kFlagWithoutValue = "true";

constexpr std::size_t kHelpWidth = 100;
constexpr std::size_t kHelpColumn = 28;

/// Appends words, broken before the width of the help and continued at `indent`; `column` is where the line stands.
void AppendWrapped(std::string& text, std::string const& words, std::size_t indent, std::size_t column) {
  for (std::string const& word : Split(words, ' ')) {
    if (column > indent && column + 1 + word.size() > kHelpWidth) {
      text += '\n' + std::string(indent, ' ');
      column = indent;
    } else if (column > indent) {
      text += ' ';
      ++column;
    }
    text += word;
    column += word.size();
  }
  text += '\n';
}

/// A line with something on the left and its explanation on the right.
void AppendRow(std::string& text, std::string const& left, std::string const& right) {
  text += "  " + left;
  std::size_t const column = 2 + left.size();
  if (column + 2 > kHelpColumn) {
    text += '\n' + std::string(kHelpColumn, ' ');
  } else {
    text += std::string(kHelpColumn - column, ' ');
  }
  AppendWrapped(text, right, kHelpColumn, kHelpColumn);
}

}  // namespace

Command::Command(std::string name, std::string summary) : m_name(std::move(name)), m_summary(std::move(summary)) {}

Command& Command::AddCommand(std::string name, std::string summary) {
  m_commands.push_back(std::make_unique<Command>(std::move(name), std::move(summary)));
  return *m_commands.back();
}

void Command::AddArgument(std::string const& value_name, std::string const& help, Taker take, Occurs occurs) {
  m_parameters.push_back({value_name, value_name, help, "", std::move(take), occurs, Kind::Argument});
}

void Command::AddOption(std::string const& names, std::string const& value_name, std::string const& help, Taker take,
                        Occurs occurs) {
  m_parameters.push_back({names, value_name, help, m_group, std::move(take), occurs, Kind::Option});
}

void Command::AddFlag(std::string const& names, std::string const& help, std::function<void()> take) {
  auto const take_flag = [take = std::move(take)](std::string const& value) {
    if (value != kFlagWithoutValue) throw Trouble("", "it takes no value", "leave out '=" + value + "'");
    take();
  };
  m_parameters.push_back({names, "", help, m_group, take_flag, Occurs::AnyNumber, Kind::Flag});
}

void Command::AddFlagWithValue(std::string const& names, std::string const& value_form, std::string const& help,
                               Taker take) {
  auto const take_value = [take = std::move(take)](std::string const& value) {
    take(value == kFlagWithoutValue ? "" : value);
  };
  m_parameters.push_back({names, value_form, help, m_group, take_value, Occurs::AnyNumber, Kind::Flag});
}

void Command::BeginGroup(std::string const& title) {
  m_group = title;
}
void Command::AddHelp(std::string const& paragraph) {
  m_paragraphs.push_back(paragraph);
}
void Command::AddExample(std::string const& line, std::string const& what) {
  m_examples.emplace_back(line, what);
}
void Command::SetAction(std::function<int()> action) {
  m_action = std::move(action);
}

std::vector<std::string> Command::_GetCommandNames() const {
  std::vector<std::string> names;
  for (auto const& child : m_commands) names.push_back(child->m_name);
  return names;
}

std::string Command::MakeUse(std::string const& path) const {
  std::string use = path;
  if (!m_commands.empty()) use += " COMMAND";
  for (Parameter const& parameter : m_parameters) {
    if (parameter.kind == Kind::Argument) use += ' ' + parameter.GetUse();
  }
  for (Parameter const& parameter : m_parameters) {
    if (parameter.kind == Kind::Argument || !IsRequired(parameter.occurs)) continue;
    use += ' ' + parameter.names.substr(0, parameter.names.find(',')) + ' ' + parameter.value_name;
  }
  return use + " [OPTION...]";
}

std::string Command::Parameter::GetName() const {
  return names.substr(names.find(',') + 1);
}

std::string Command::Parameter::GetUse() const {
  std::string const use = value_name + (IsRepeatable(occurs) ? "..." : "");
  return IsRequired(occurs) ? use : '[' + use + ']';
}

/// A command's mirror in the parsing library. That is made to accept all words, and to judge none: unknown and missing
/// ones are told here, in the one-line form of the program.
struct CommandLine::Parser {
  Command const& command;
  CLI::App& app;
  std::string path;     ///< all words that call the command
  std::string subject;  ///< the same without the program's name
  std::vector<std::pair<CLI::Option const*, Command::Parameter const*>> parameters;
  std::vector<Parser> commands;

  Parser(Command const& parsed_command, CLI::App& parsing_app, std::string const& words)
      : command(parsed_command), app(parsing_app), path(words) {
    if (auto const space = path.find(' '); space != std::string::npos) subject = path.substr(space + 1);
    app.allow_extras()->require_subcommand(0, 1);
    app.set_help_flag("-h,--help");
    for (Command::Parameter const& parameter : command.m_parameters) {
      CLI::Option* option = nullptr;
      if (parameter.kind == Command::Kind::Flag) {
        option = app.add_flag(parameter.names);
      } else {
        option = app.add_option(parameter.names, [](CLI::results_t const&) { return true; })->expected(1);
      }
      // Whether it may be repeated is told here, too; but an argument that may not is full with its first word.
      if (parameter.kind != Command::Kind::Argument) {
        option->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
      } else if (IsRepeatable(parameter.occurs)) {
        option->expected(-1)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
      }
      parameters.emplace_back(option, &parameter);
    }
    commands.reserve(command.m_commands.size());
    for (auto const& child : command.m_commands) {
      commands.emplace_back(*child, *app.add_subcommand(child->m_name), path + ' ' + child->m_name);
    }
  }

  /// The command that the words named, which is this one or one below.
  Parser const& GetNamed() const {
    for (Parser const& parser : commands) {
      if (parser.app.parsed()) return parser.GetNamed();
    }
    return *this;
  }

  std::string GetAdvice() const { return "'" + path + " --help' tells what it takes"; }

  void RefuseUnknownWords() const {
    auto const words = app.remaining();
    // The mark that ends the options is among what remains.
    auto const unknown = std::find_if(words.begin(), words.end(), [](std::string const& left) { return left != "--"; });
    if (unknown == words.end()) return;
    bool const is_option = unknown->size() > 1 && unknown->front() == '-';
    std::string const word = is_option ? unknown->substr(0, unknown->find('=')) : *unknown;

    std::vector<std::string> known;
    if (is_option) {
      known.emplace_back("--help");
      for (auto const& [option, parameter] : parameters) {
        if (parameter->kind != Command::Kind::Argument) known.push_back(parameter->GetName());
      }
    } else {
      known = command._GetCommandNames();
    }
    std::string const nearest = Nearest(word, known);
    std::string const advice = !nearest.empty()                           ? "did you mean '" + nearest + "'?"
                               : is_option && !command.m_commands.empty() ? "options follow the command"
                                                                          : GetAdvice();
    if (is_option) throw Trouble(subject, "there is no option '" + word + "'", advice);
    if (!command.m_commands.empty()) throw Trouble(subject, "there is no command '" + word + "'", advice);
    throw Trouble(subject, "'" + word + "' is one word too many", advice);
  }

  void RefuseWrongCounts() const {
    for (auto const& [option, parameter] : parameters) {
      if (IsRequired(parameter->occurs) && option->count() == 0) {
        std::string const name = parameter->kind == Command::Kind::Argument ? "" : parameter->GetName() + ' ';
        throw Trouble(subject, name + parameter->value_name + " is missing", GetAdvice());
      }
      if (!IsRepeatable(parameter->occurs) && option->count() > 1) {
        throw Trouble(parameter->GetName(), "it is given " + std::to_string(option->count()) + " times",
                      "give it once");
      }
    }
  }

  /// Hands the values out, in the order of the command line.
  void TakeValues() const {
    std::map<CLI::Option const*, std::size_t> num_taken;
    for (CLI::Option const* const option : app.parse_order()) {
      auto const found = std::find_if(parameters.begin(), parameters.end(),
                                      [&](auto const& parameter) { return parameter.first == option; });
      if (found == parameters.end()) continue;  // the library's own, such as --help
      Command::Parameter const& parameter = *found->second;
      try {
        parameter.take(option->results().at(num_taken[option]++));
      } catch (Trouble const& trouble) {
        throw std::runtime_error(parameter.GetName() + ": " + trouble.what());
      }
    }
  }
};

int CommandLine::Run(int argc, char const* const* argv) const {
  CLI::App app;
  app.set_version_flag("--version", m_root.m_name + ' ' + m_version);
  Parser const root(m_root, app, m_root.m_name);
  try {
    app.parse(argc, argv);
  } catch (CLI::CallForHelp const&) {
    Parser const& named = root.GetNamed();
    WriteOutput(_MakeHelp(named.command, named.path));
    return 0;
  } catch (CLI::CallForVersion const& version) {
    WriteOutput(std::string(version.what()) + '\n');
    return 0;
  } catch (CLI::ArgumentMismatch const& error) {
    std::string const text = error.what();
    throw Trouble(text.substr(0, text.find(':')), "its value is missing", root.GetNamed().GetAdvice());
  } catch (CLI::ParseError const& error) {
    throw Trouble("", error.what(), root.GetNamed().GetAdvice());
  }

  root.RefuseUnknownWords();
  Parser const& named = root.GetNamed();
  named.RefuseUnknownWords();
  if (!named.command.m_action) {
    throw Trouble(named.subject, "no command is given",
                  "give one of " + Join(named.command._GetCommandNames(), ", ") + ", or --help");
  }
  named.RefuseWrongCounts();
  named.TakeValues();
  return named.command.m_action();
}

std::string CommandLine::_MakeHelp(Command const& command, std::string const& path) {
  std::string text = path + ": " + command.m_summary + "\n\nusage: " + command.MakeUse(path) + '\n';

  if (!command.m_commands.empty()) text += "\nCommands:\n";
  for (auto const& child : command.m_commands) AppendRow(text, child->m_name, child->m_summary);

  std::string group = "none";
  for (Command::Parameter const& parameter : command.m_parameters) {
    if (parameter.group != group) {
      group = parameter.group;
      text += '\n' + (group.empty() ? "" : group + ":\n");
    }
    std::string left = parameter.names;
    if (auto const comma = left.find(','); comma != std::string::npos) left.insert(comma + 1, 1, ' ');
    if (parameter.kind == Command::Kind::Option) left += ' ';
    if (parameter.kind != Command::Kind::Argument) left += parameter.value_name;
    AppendRow(text, left, parameter.help);
  }
  if (group != "Options") text += "\nOptions:\n";
  AppendRow(text, "-h, --help", "this text");
  if (path.find(' ') == std::string::npos) AppendRow(text, "--version", "the version of the program");

  for (std::string const& paragraph : command.m_paragraphs) {
    text += '\n';
    AppendWrapped(text, paragraph, 0, 0);
  }
  if (!command.m_examples.empty()) text += "\nExamples:\n";
  for (auto const& [line, what] : command.m_examples) {
    text += "  " + line + '\n';
    text += "      ";
    AppendWrapped(text, what, 6, 6);
  }
  return text;
}

}  // namespace Tool
