#include "shell/Output.h"

#include "shell/Render.h"

#include <cstdio>
#include <io.h>

namespace zelctl
{
namespace
{

bool TryWrite(const std::string& text)
{
    return std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
}

void Complain(const std::string& text)
{
    std::fputs(("zelctl: " + text + "\n").c_str(), stderr);
}

Value Describe(const CFailure& failure)
{
    Value error = {{"what", failure.what()}};
    if (failure.Code())
        error["code"] = Hex(*failure.Code(), 8);
    error["meaning"] = failure.Text().meaning;
    if (!failure.Text().remedy.empty())
        error["remedy"] = failure.Text().remedy;
    return {{"error", std::move(error)}};
}

}  // namespace

void COutput::Write(const std::string& text)
{
    if (!TryWrite(text))
        throw CFailure("writing the output", std::nullopt, {"Nobody reads it any more, or the disk is full.", ""});
}

void COutput::Show(const Value& value) const
{
    Write(m_json ? RenderJson(value) : RenderText(value));
}

void COutput::ShowNext(const Value& value, const std::string& heading, const Value& details) const
{
    Write(m_json ? RenderJsonLine(value) : heading + "\n" + RenderText(details, 2));
}

void COutput::ShowFailure(const CFailure& failure) const
{
    if (m_json && TryWrite(RenderJsonLine(Describe(failure))))
        return;
    const auto& [meaning, remedy] = failure.Text();
    const std::string code = failure.Code() ? ": " + Hex(*failure.Code(), 8) : "";
    Complain(std::string(failure.what()) + " failed" + code + "\n  " + meaning +
             (remedy.empty() ? "" : "\n  What to do: " + remedy));
}

void COutput::ShowUsageError(const CUsageError& error) const
{
    if (m_json && TryWrite(RenderJsonLine({{"error", {{"usage", error.what()}}}})))
        return;
    Complain(error.what());
}

void CProgress::Show(const std::string& text)
{
    if (_isatty(_fileno(stderr)) == 0)
        return;
    Clear();
    m_width = text.size();
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

void CProgress::Clear()
{
    if (m_width == 0)
        return;
    std::fputs(("\r" + std::string(m_width, ' ') + "\r").c_str(), stderr);
    std::fflush(stderr);
    m_width = 0;
}

}  // namespace zelctl
