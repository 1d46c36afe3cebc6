// What the tool says: its report, one-line warnings, and the known name nearest to a mistyped one.
#pragma once

#include <string>
#include <vector>

namespace sonx {

// A part of the report, printf-like: to standard output, or to standard error when the result goes
// to standard output.
__attribute__((format(printf, 1, 2))) void say(const char* format, ...);
void say_on_standard_error();

// "sonx: warning: .." on standard error.
void warn(const std::string& text);

// "; did you mean 'room'?" for the one of the known names that is near enough, or nothing.
std::string suggestion(const std::string& name, const std::vector<std::string>& known);

}  // namespace sonx
