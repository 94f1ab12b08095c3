#include "Program.h"

#include "Catalogue.h"
#include "shell/CommandLine.h"
#include "shell/Failure.h"

#include <exception>

namespace zelctl
{
namespace
{

void Run(const CommandLine& line, const COutput& output, const CStopSignal& stop)
try
{
    if (line.wrong)
        throw CUsageError(*line.wrong);
    if (line.answer)
        return COutput::Write(*line.answer);
    CContext context(line.arguments, output, stop, AllModules(), line.target);
    line.command->run(context);
}
catch (const CUsageError& error)
{
    throw CUsageError(error.what() + line.hint);
}

}  // namespace

int RunProgram(std::vector<std::string> words, const CStopSignal& stop)
{
    const CommandLine line = ParseCommandLine(std::move(words), AllCommands());
    const COutput output(line.json);
    try
    {
        Run(line, output, stop);
        return kSuccess;
    }
    catch (const CUsageError& error)
    {
        output.ShowUsageError(error);
        return kWrongUsage;
    }
    catch (const CIncomplete& failure)
    {
        output.ShowFailure(failure);
        return kTimeOver;
    }
    catch (const CFailure& failure)
    {
        output.ShowFailure(failure);
        return kCallFailed;
    }
    catch (const std::exception& error)
    {
        output.ShowFailure(CFailure("the command", std::nullopt, {error.what(), ""}));
        return kCallFailed;
    }
}

}  // namespace zelctl
