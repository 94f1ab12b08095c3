#include "shell/Render.h"

#include <algorithm>
#include <vector>

namespace zelctl
{
namespace
{

constexpr std::size_t kStep = 2;
constexpr char kColumnGap[] = "  ";

using Row = std::vector<std::string>;

bool IsContinuationByte(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

/// Number of characters of a UTF-8 text.
std::size_t WidthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return !IsContinuationByte(byte); }));
}

std::string Padded(const std::string& text, std::size_t width, bool right)
{
    const std::string space(width - std::min(width, WidthOf(text)), ' ');
    return right ? space + text : text + space;
}

std::string Printable(const std::string& text)
{
    std::string printable;
    for (const char character : text)
    {
        const auto code = static_cast<unsigned char>(character);
        if (code < 0x20 || code == 0x7F)
            printable += "\\" + Hex(code, 2).substr(1);
        else
            printable += character;
    }
    return printable;
}

std::string LabelOf(std::string key)
{
    std::replace(key.begin(), key.end(), '_', ' ');
    return Printable(key);
}

bool IsScalarList(const Value& value)
{
    return value.is_array() &&
           std::all_of(value.begin(), value.end(), [](const Value& item) { return item.is_primitive(); });
}

/// Whether the value fits behind its label.
bool IsInline(const Value& value)
{
    return value.is_primitive() || IsScalarList(value);
}

std::string InlineText(const Value& value)
{
    if (value.is_null())
        return "-";
    if (value.is_boolean())
        return value.get<bool>() ? "yes" : "no";
    if (value.is_string())
        return Printable(value.get<std::string>());
    if (!value.is_array())
        return value.dump();
    std::string list;
    for (const Value& item : value)
        list += (list.empty() ? "" : ", ") + InlineText(item);
    return list.empty() ? "(none)" : list;
}

/// Whether a list can be a table: records of fields that fit in a cell.
bool IsTable(const Value& list)
{
    return std::all_of(list.begin(), list.end(), [](const Value& item) {
        return item.is_object() &&
               std::all_of(item.begin(), item.end(), [](const Value& field) { return IsInline(field); });
    });
}

/// The names of the fields of all records, in the order in which they come up.
std::vector<std::string> ColumnsOf(const Value& list)
{
    std::vector<std::string> columns;
    for (const Value& item : list)
        for (const auto& field : item.items())
            if (std::find(columns.begin(), columns.end(), field.key()) == columns.end())
                columns.push_back(field.key());
    return columns;
}

std::string RenderTable(const Value& list, std::size_t indent)
{
    const std::vector<std::string> columns = ColumnsOf(list);
    std::vector<Row> rows(list.size() + 1);
    std::vector<std::size_t> widths;
    std::vector<bool> numeric;
    for (const std::string& column : columns)
    {
        rows[0].push_back(LabelOf(column));
        std::size_t width = WidthOf(rows[0].back());
        bool isNumeric = true;
        for (std::size_t i = 0; i < list.size(); ++i)
        {
            const Value& item = list[i];
            rows[i + 1].push_back(item.contains(column) ? InlineText(item[column]) : "");
            width = std::max(width, WidthOf(rows[i + 1].back()));
            isNumeric = isNumeric && (!item.contains(column) || item[column].is_number());
        }
        widths.push_back(width);
        numeric.push_back(isNumeric);
    }
    std::string text;
    for (const Row& row : rows)
    {
        std::string line(indent, ' ');
        for (std::size_t i = 0; i < row.size(); ++i)
            line += (i == 0 ? "" : kColumnGap) + Padded(row[i], widths[i], numeric[i]);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    return text;
}

std::string RenderList(const Value& list, std::size_t indent)
{
    if (IsScalarList(list))
        return std::string(indent, ' ') + InlineText(list) + "\n";
    if (IsTable(list))
        return RenderTable(list, indent);
    std::string text;
    for (const Value& item : list)
        text += (text.empty() ? "" : "\n") + RenderText(item, indent);
    return text;
}

std::string RenderObject(const Value& object, std::size_t indent)
{
    std::size_t width = 0;
    for (const auto& field : object.items())
        if (IsInline(field.value()))
            width = std::max(width, WidthOf(LabelOf(field.key())));
    std::string text;
    for (const auto& field : object.items())
    {
        const std::string label = std::string(indent, ' ') + LabelOf(field.key()) + ":";
        if (IsInline(field.value()))
            text += Padded(label, indent + width + 1, false) + " " + InlineText(field.value()) + "\n";
        else
            text += label + "\n" + RenderText(field.value(), indent + kStep);
    }
    return text;
}

}  // namespace

std::string RenderText(const Value& value, std::size_t indent)
{
    if (value.is_object())
        return RenderObject(value, indent);
    if (value.is_array())
        return RenderList(value, indent);
    return std::string(indent, ' ') + InlineText(value) + "\n";
}

std::string RenderJson(const Value& value)
{
    return value.dump(static_cast<int>(kStep), ' ', false, Value::error_handler_t::replace) + "\n";
}

std::string RenderJsonLine(const Value& value)
{
    return value.dump(-1, ' ', false, Value::error_handler_t::replace) + "\n";
}

}  // namespace zelctl
