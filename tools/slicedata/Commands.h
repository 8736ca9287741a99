#pragma once

namespace Tool {

class Command;

// Each adds one command to the program, in a file of its own.
void AddInfoCommand(Command& program);
void AddConvertCommand(Command& program);
void AddRenderCommand(Command& program);
void AddViewCommand(Command& program);
void AddTransformCommand(Command& program);
void AddPrepareCommand(Command& program);
void AddAreasCommand(Command& program);
void AddMergeCommand(Command& program);
void AddDatabaseCommand(Command& program);
void AddGenerateCommand(Command& program);

}  // namespace Tool
