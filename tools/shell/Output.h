#pragma once

#include "shell/Failure.h"
#include "shell/Value.h"

#include <string>

namespace zelctl
{

/// Where a command's results and failures go: text for people, or JSON on the standard output.
class COutput
{
  public:
    explicit COutput(bool json) : m_json(json) {}

    /// The result of a command.
    void Show(const Value& value) const;

    /// One of a row of results: a line of JSON, or the heading and below it the part of the value that matters.
    void ShowNext(const Value& value, const std::string& heading, const Value& details) const;

    void ShowFailure(const CFailure& failure) const;
    void ShowUsageError(const CUsageError& error) const;

    /// Writes to the standard output as it is. Throws CFailure when nobody can read it any more.
    static void Write(const std::string& text);

  private:
    bool m_json;
};

/// Tells on a terminal what a command is busy with; the text goes away with the object.
class CProgress
{
  public:
    explicit CProgress(const std::string& text) { Show(text); }
    ~CProgress() { Clear(); }
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    void Show(const std::string& text);

  private:
    void Clear();

    std::size_t m_width = 0;
};

}  // namespace zelctl
