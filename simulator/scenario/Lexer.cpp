#include "scenario/Lexer.h"

#include "scenario/Text.h"

#include <algorithm>
#include <array>

namespace vorlansim
{
namespace
{

bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool IsName(char c)
{
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

/// Cuts a source into statements.
class CLexer
{
  public:
    explicit CLexer(const std::shared_ptr<const std::string>& file) : m_place{file, 0} {}

    std::vector<Statement> Run(std::string_view source)
    {
        if (source.substr(0, 3) == "\xEF\xBB\xBF")
            source.remove_prefix(3);
        while (!source.empty())
        {
            const std::size_t end = std::min(source.find('\n'), source.size());
            ReadLine(source.substr(0, end));
            source.remove_prefix(std::min(end + 1, source.size()));
        }
        CheckClosed();
        return std::move(m_statements);
    }

  private:
    void ReadLine(std::string_view line)
    {
        ++m_place.line;
        if (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (!ToUtf16(line))
            Fail("not UTF-8");
        m_line = line;
        SkipBlanks();
        if (m_line.empty() || m_line.front() == '#')
            return;
        const bool indented = m_line.size() < line.size();
        if (!indented)
            CheckClosed();
        if (m_open.empty())
            m_statements.push_back({indented, {}});
        else
            Tokens().pop_back();
        while (!m_line.empty() && m_line.front() != '#')
        {
            ReadToken();
            SkipBlanks();
        }
        Tokens().push_back({Token::Kind::End, "", "", m_place.line});
    }

    void ReadToken()
    {
        if (m_line.front() == '$')
            ReadVariable();
        else if (IsName(m_line.front()))
            ReadWord();
        else if (m_line.front() == '"')
            ReadText("");
        else
            ReadSymbol();
    }

    void ReadVariable()
    {
        m_line.remove_prefix(1);
        const std::string name = TakeWhile([](std::size_t, char c) { return IsName(c); });
        if (name.empty() || !IsLetter(name.front()))
            Fail("$ needs a name that begins with a letter");
        Push(Token::Kind::Variable, name);
    }

    void ReadWord()
    {
        const std::string_view line = m_line;
        // A hyphen joins two letters of a keyword; everywhere else it is a minus.
        const auto belongs = [line](std::size_t i, char c) {
            const bool joins = c == '-' && i + 1 < line.size() && IsLetter(line[i + 1]) && IsLetter(line[0]);
            return IsName(c) || c == '.' || joins;
        };
        const std::string word = TakeWhile(belongs);
        if (!m_line.empty() && m_line.front() == '"')
            ReadText(word);
        else
            Push(Token::Kind::Word, word);
    }

    void ReadText(const std::string& prefix)
    {
        std::string text;
        std::size_t i = 1;
        for (; i < m_line.size() && m_line[i] != '"'; ++i)
        {
            if (m_line[i] == '\\')
                ++i;
            if (i < m_line.size())
                text.push_back(m_line[i]);
        }
        if (i >= m_line.size())
            Fail("the text has no closing quote");
        m_line.remove_prefix(i + 1);
        Push(Token::Kind::Text, text, prefix);
    }

    void ReadSymbol()
    {
        constexpr std::array<std::string_view, 5> pairs{"??", "==", "!=", "<=", ">="};
        const bool isPair = std::find(pairs.begin(), pairs.end(), m_line.substr(0, 2)) != pairs.end();
        const std::string symbol(m_line.substr(0, isPair ? 2 : 1));
        if (!isPair && std::string_view("()[],<>:+-*=").find(symbol) == std::string_view::npos)
            Fail("'" + symbol + "' has no meaning here");
        m_line.remove_prefix(symbol.size());
        if (symbol == "(")
            m_open.push_back(m_place.line);
        if (symbol == ")" && !m_open.empty())
            m_open.pop_back();
        Push(Token::Kind::Symbol, symbol);
    }

    template <typename Belongs>
    std::string TakeWhile(Belongs belongs)
    {
        std::size_t length = 0;
        while (length < m_line.size() && belongs(length, m_line[length]))
            ++length;
        std::string taken(m_line.substr(0, length));
        m_line.remove_prefix(length);
        return taken;
    }

    void SkipBlanks() { m_line.remove_prefix(std::min(m_line.find_first_not_of(" \t"), m_line.size())); }

    void Push(Token::Kind kind, const std::string& text, const std::string& prefix = "")
    {
        Tokens().push_back({kind, text, prefix, m_place.line});
    }

    std::vector<Token>& Tokens() { return m_statements.back().tokens; }

    void CheckClosed()
    {
        if (m_open.empty())
            return;
        m_place.line = m_open.back();
        Fail("this '(' is never closed");
    }

    [[noreturn]] void Fail(const std::string& reason) const { throw CScenarioError(m_place, reason); }

    Place m_place;
    std::string_view m_line;
    std::vector<int> m_open;  // the lines of the brackets that are open
    std::vector<Statement> m_statements;
};

}  // namespace

std::vector<Statement> Tokenize(std::string_view source, const std::shared_ptr<const std::string>& file)
{
    return CLexer(file).Run(source);
}

}  // namespace vorlansim
