#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

/// Compares answers in JSON with the schemas in tests/cli/schemas.
namespace tessary::test {

/// Where and why the value does not fit the schema of this name; empty where it does. Knows of JSON Schema
/// what the schemas use: type, const, enum, pattern (of the whole text), properties, required,
/// additionalProperties false, items, anyOf, and references to definitions of a schema. Anything else throws
/// std::logic_error.
[[nodiscard]] std::string misfit(const nlohmann::json &value, const std::string &schema);

/// Fails the test where an answer of a command, given by the program's words, fits none of the schemas that
/// are its.
void expectFitsSchema(const std::vector<std::string> &words, const std::string &answer);

} // namespace tessary::test
