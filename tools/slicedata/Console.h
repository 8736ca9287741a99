#pragma once

#include <string_view>

namespace Tool {

/// Makes standard input, output and error safe to use: one that is closed would lend its number to the next file that
/// is opened, and messages would end up in there.
void PrepareConsole();

// All text for people goes through here. Each line becomes `Printable`, whatever file or command line it comes from.

/// Writes lines to standard output. A reader that has left early is no trouble: the rest is dropped.
void WriteOutput(std::string_view text);

/// One line on standard error, begun by the program's name: what went wrong, and what to do if the text does not say
/// so. Takes no memory.
void TellTrouble(std::string_view text, std::string_view advice = "");
/// The same for what the user should know although the command goes on.
void TellNote(std::string_view text);

/// A line of the text on standard error that the next one replaces; an empty text takes it away. For terminals only.
void ShowStatus(std::string_view text);

bool IsErrorOutputTerminal();

}  // namespace Tool
