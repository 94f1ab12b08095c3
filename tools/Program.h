#pragma once

#include "shell/StopSignal.h"

#include <string>
#include <vector>

namespace zelctl
{

inline constexpr int kSuccess = 0;
inline constexpr int kCallFailed = 1;
inline constexpr int kWrongUsage = 2;
inline constexpr int kTimeOver = 3;

/// Runs the command line `words` (without the program's name, in UTF-8). Returns the exit code; throws nothing.
int RunProgram(std::vector<std::string> words, const CStopSignal& stop);

}  // namespace zelctl
