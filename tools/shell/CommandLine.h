#pragma once

#include "shell/Command.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace zelctl
{

/// A command line, understood: an answer that is to be shown, or what is wrong, or else a command.
struct CommandLine
{
    std::optional<std::string> answer;  ///< The help or the version, where that was asked for.
    std::optional<std::string> wrong;
    bool json = false;
    Target target;
    const Command* command = nullptr;
    CArguments arguments;
    std::string hint;  ///< How to use the command; for whoever used it wrongly.
};

/// REQUIRES: a command of two words stands behind the one, if there is one, that is named by the first of them.
CommandLine ParseCommandLine(std::vector<std::string> words, std::span<const Command* const> commands);

}  // namespace zelctl
