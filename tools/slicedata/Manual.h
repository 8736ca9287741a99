#pragma once

#include <string>

namespace Tool {

class Command;

// What is installed beside the program for people to find their way. It is made from the descriptions of the commands,
// as --help is, and so says the same.

/// A page for man(1). Options that several commands have in common are told once, behind the commands.
std::string MakeManualPage(Command const& program, std::string const& version);

/// A script by which bash completes commands, options, values of options with a choice, and names of such files as the
/// place takes.
std::string MakeBashCompletion(Command const& program);

}  // namespace Tool
