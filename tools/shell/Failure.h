#pragma once

#include "shell/ResultText.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace zelctl
{

/// The user typed something that makes no sense.
class CUsageError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/// Something that a command tried did not work.
class CFailure : public std::runtime_error
{
  public:
    /// A call of the library that returned `code`; `what` names what was tried, as in "reading the clock".
    CFailure(const std::string& what, std::uint32_t code)
        : std::runtime_error(what), m_code(code), m_text(DescribeResult(code))
    {
    }

    /// A failure that shows itself otherwise than by a result code, or that has a better text than its code.
    CFailure(const std::string& what, std::optional<std::uint32_t> code, ResultText text)
        : std::runtime_error(what), m_code(code), m_text(std::move(text))
    {
    }

    const std::optional<std::uint32_t>& Code() const { return m_code; }
    const ResultText& Text() const { return m_text; }

  private:
    std::optional<std::uint32_t> m_code;
    ResultText m_text;
};

/// The time was over before all that was asked for had arrived.
class CIncomplete : public CFailure
{
  public:
    using CFailure::CFailure;
};

}  // namespace zelctl
