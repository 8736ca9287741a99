#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Tool {

/// How often an option may stand on the command line.
enum class Occurs { AtMostOnce, Once, AnyNumber };

/// A command as its file describes it: what it is called with, what its help says, what it does.
///
/// Options are taken in the order of the command line, so that a command whose options are steps runs them as the user
/// wrote them. What takes a value throws `Trouble` for one it cannot use; the option's name is put in front.
class Command {
 public:
  using Taker = std::function<void(std::string const& value)>;

  /// \param name     the last word that calls it
  /// \param summary  one line, without a full stop
  Command(std::string name, std::string summary);

  /// A command below this one. The reference stays valid.
  Command& AddCommand(std::string name, std::string summary);

  /// An argument without a name, always required.
  void AddArgument(std::string const& value_name, std::string const& help, Taker take);
  /// \param names  "--long" or "-s,--long"
  void AddOption(std::string const& names, std::string const& value_name, std::string const& help, Taker take,
                 Occurs occurs = Occurs::AtMostOnce);
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

 private:
  friend class CommandLine;

  enum class Kind { Argument, Option, Flag };

  struct Parameter {
    std::string names;       ///< the value's name for an argument
    std::string value_name;  ///< of a flag, how a value may follow it
    std::string help;
    std::string group;
    Taker take;
    Occurs occurs;
    Kind kind;

    /// The last of the names: the long one of an option.
    std::string GetName() const;
  };

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
