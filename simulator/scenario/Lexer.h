#pragma once

#include "scenario/ScenarioError.h"

#include <string_view>
#include <vector>

namespace vorlansim
{

struct Token
{
    enum class Kind
    {
        Word,      ///< a keyword, a number, hex digits or a function's name
        Variable,  ///< text is the name behind the $
        Text,      ///< text is the content in UTF-8, prefix the word in front of the quotes
        Symbol,
        End  ///< of the line
    };

    Kind kind = Kind::End;
    std::string text;
    std::string prefix;
    int line = 0;
};

/// One statement: a line, or more of them while a round bracket is open.
struct Statement
{
    bool indented = false;
    std::vector<Token> tokens;  ///< the last one is an End
};

/// Throws CScenarioError.
std::vector<Statement> Tokenize(std::string_view source, const std::shared_ptr<const std::string>& file);

}  // namespace vorlansim
