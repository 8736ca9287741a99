#pragma once

#include <string>

namespace Tool {

/// Makes standard input, output and error safe to use: one that is closed would lend its number to the next file that
/// is opened, and messages would end up in there.
void PrepareConsole();

/// Writes a text to standard output. A reader that has left early is no trouble: the rest is dropped.
void WriteOutput(std::string const& text);

/// One line on standard error, begun by the program's name: what went wrong. Control characters are made visible.
void TellTrouble(std::string const& text);
/// The same for what the user should know although the command goes on.
void TellNote(std::string const& text);

/// A line of the text on standard error that the next one replaces; an empty text takes it away. For terminals only.
void ShowStatus(std::string const& text);

bool IsErrorOutputTerminal();

}  // namespace Tool
