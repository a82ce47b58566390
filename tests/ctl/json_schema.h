#pragma once

#include <string>

namespace norvad::ctl::test {

// What about a JSON text is not as the schema of norvadctl's output says; empty when all is.
std::string SchemaViolation(const std::string& text);

}  // namespace norvad::ctl::test
