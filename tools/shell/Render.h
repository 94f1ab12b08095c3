#pragma once

#include "shell/Value.h"

#include <cstddef>
#include <string>

namespace zelctl
{

/**
 * A value as text for people, each line indented and ended: the fields of an object below each other, a list of records
 * as a table. "file_id" is shown as "file id". Control characters are shown as "\x1B", so that a text from the phone
 * cannot play with the terminal.
 */
std::string RenderText(const Value& value, std::size_t indent = 0);

/// A value as one JSON document in UTF-8, over several lines.
std::string RenderJson(const Value& value);

/// The same in one line.
std::string RenderJsonLine(const Value& value);

}  // namespace zelctl
