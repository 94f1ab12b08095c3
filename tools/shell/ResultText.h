#pragma once

#include <cstdint>
#include <string>

namespace zelctl
{

struct ResultText
{
    std::string meaning;
    std::string remedy;  ///< Empty where the user can do nothing.
};

/// Explains a result code of the library.
ResultText DescribeResult(std::uint32_t code);

}  // namespace zelctl
