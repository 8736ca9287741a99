#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tool {

/// How often something may stand on the command line.
enum class Occurs { AtMostOnce, Once, AtLeastOnce, AnyNumber };

constexpr bool IsRequired(Occurs occurs) {
  return occurs == Occurs::Once || occurs == Occurs::AtLeastOnce;
}
constexpr bool IsRepeatable(Occurs occurs) {
  return occurs == Occurs::AtLeastOnce || occurs == Occurs::AnyNumber;
}

/// A command as its file describes it: what it is called with, what its help says, what it does.
///
/// Options are taken in the order of the command line, so that a command whose options are steps runs them as the user
/// wrote them. What takes a value throws `Trouble` for one it cannot use; the option's name is put in front.
class Command {
 public:
  using Taker = std::function<void(std::string const& value)>;

  enum class Kind { Argument, Option, Flag };

  struct Parameter {
    std::string names;       ///< the value's name for an argument
    std::string value_name;  ///< of a flag, how a value may follow it
    std::string help;
    std::string group;
    Taker take;
    Occurs occurs;
    Kind kind;
    std::vector<std::string> choices = {};  ///< words that the value begins with; none where it may be anything

    /// The last of the names: the long one of an option.
    std::string GetName() const;
    /// An argument as a line of use shows it.
    std::string GetUse() const;
  };

  /// \param name     the last word that calls it
  /// \param summary  one line, without a full stop
  Command(std::string name, std::string summary);

  /// A command below this one. The reference stays valid.
  Command& AddCommand(std::string name, std::string summary);

  /// An argument without a name. The last one may be left out or repeated.
  void AddArgument(std::string const& value_name, std::string const& help, Taker take, Occurs occurs = Occurs::Once);
  /// \param names  "--long" or "-s,--long"
  void AddOption(std::string const& names, std::string const& value_name, std::string const& help, Taker take,
                 Occurs occurs = Occurs::AtMostOnce);
  /// The words that the value of the option added last is one of, or begins with, for completion in a shell.
  void SetChoices(std::vector<std::string> choices) { m_parameters.back().choices = std::move(choices); }
  void AddFlag(std::string const& names, std::string const& help, std::function<void()> take);
  /// A flag that may have a value behind "="; without, the taker gets an empty one.
  /// \param value_form  how the help shows it
  void AddFlagWithValue(std::string const& names, std::string const& value_form, std::string const& help, Taker take);
  /// Begins a titled group in the help; the options that follow stand in it.
  void BeginGroup(std::string const& title);

  /// A paragraph below the options.
  void AddHelp(std::string const& paragraph);
  /// A command line that shows the use, and what it does.
  void AddExample(std::string const& line, std::string const& what);

  /// What the command does once its options are taken; gives the exit code.
  void SetAction(std::function<int()> action);

  // What it consists of, in the order of the help.
  std::string const& GetName() const { return m_name; }
  std::string const& GetSummary() const { return m_summary; }
  std::vector<Parameter> const& GetParameters() const { return m_parameters; }
  std::vector<std::string> const& GetParagraphs() const { return m_paragraphs; }
  /// Lines, and what they do.
  std::vector<std::pair<std::string, std::string>> const& GetExamples() const { return m_examples; }
  std::vector<std::unique_ptr<Command>> const& GetCommands() const { return m_commands; }

  /// A line that shows how the command is called.
  /// \param path  all words that call it
  std::string MakeUse(std::string const& path) const;

 private:
  friend class CommandLine;

  std::vector<std::string> _GetCommandNames() const;

  std::string m_name;
  std::string m_summary;
  std::string m_group = "Options";
  std::vector<Parameter> m_parameters;
  std::vector<std::string> m_paragraphs;
  std::vector<std::pair<std::string, std::string>> m_examples;
  std::function<int()> m_action;
  std::vector<std::unique_ptr<Command>> m_commands;
};

/// Takes the words of a command line apart and runs the command that they name. Answers --help of every command, and
/// --version.
class CommandLine {
 public:
  CommandLine(Command const& root, std::string version) : m_root(root), m_version(std::move(version)) {}

  /// \return the command's exit code
  /// \throws Trouble if the words make no sense
  int Run(int argc, char const* const* argv) const;

 private:
  struct Parser;

  static std::string _MakeHelp(Command const& command, std::string const& path);

  Command const& m_root;
  std::string m_version;
};

}  // namespace Tool
