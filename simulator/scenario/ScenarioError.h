#pragma once

#include <memory>
#include <stdexcept>
#include <string>

namespace vorlansim
{

/// A line of a scenario file.
struct Place
{
    std::shared_ptr<const std::string> file;
    int line = 0;
};

/// Something wrong in a scenario; what() is "FILE:LINE: reason".
class CScenarioError : public std::runtime_error
{
  public:
    CScenarioError(const Place& place, const std::string& reason)
        : std::runtime_error(*place.file + ":" + std::to_string(place.line) + ": " + reason)
    {
    }
};

}  // namespace vorlansim
