#include "Program.h"
#include "shell/Text.h"

#include <windows.h>

#include <cstdio>
#include <fcntl.h>
#include <io.h>

namespace
{

/// Lets a console show UTF-8, and gives it back as it was.
class CUtf8Console
{
  public:
    CUtf8Console()
    {
        SetConsoleOutputCP(CP_UTF8);
        _setmode(_fileno(stdout), _O_BINARY);
        _setmode(_fileno(stderr), _O_BINARY);
    }
    ~CUtf8Console() { SetConsoleOutputCP(m_before); }
    CUtf8Console(const CUtf8Console&) = delete;
    CUtf8Console& operator=(const CUtf8Console&) = delete;

  private:
    const UINT m_before = GetConsoleOutputCP();
};

}  // namespace

int wmain(int count, wchar_t** arguments)
{
    const CUtf8Console console;
    const zelctl::CStopSignal stop;
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i)
        words.push_back(zelctl::ToUtf8(arguments[i]));
    return zelctl::RunProgram(std::move(words), stop);
}
