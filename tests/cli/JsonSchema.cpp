#include "tests/cli/JsonSchema.h"

#include "tests/cli/ProjectFile.h"
#include "tests/support/HostFiles.h"
#include "tests/support/Pattern.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>

namespace tessary::test {
namespace {

using nlohmann::json;

std::map<std::string, json> readSchemas() {
  std::map<std::string, json> schemas;
  for (const auto &file : std::filesystem::directory_iterator(projectFile("tests/cli/schemas")))
    schemas[file.path().stem().string()] = json::parse(readText(file.path().string()));
  return schemas;
}

// Read when the program starts: a test may be another user later, who cannot reach the project.
const std::map<std::string, json> kSchemas = readSchemas();

const json &schemaNamed(const std::string &name) {
  return kSchemas.at(name);
}

bool isOfType(const json &value, const std::string &type) {
  if (type == "integer") return value.is_number_integer();
  if (type == "array") return value.is_array();
  if (type == "object") return value.is_object();
  if (type == "string") return value.is_string();
  if (type == "boolean") return value.is_boolean();
  if (type == "null") return value.is_null();
  throw std::logic_error("a type that no schema here has: " + type);
}

std::string misfitOf(const json &value, const json &schema, const std::string &at);

std::string misfitOfMembers(const json &value, const json &schema, const std::string &at) {
  const json &properties = schema.at("properties");
  for (const json &name : schema.at("required"))
    if (!value.contains(name.get<std::string>())) return at + ": no member " + name.get<std::string>();
  for (const auto &[name, member] : value.items()) {
    if (!properties.contains(name)) return at + ": a member too much: " + name;
    std::string why = misfitOf(member, properties.at(name), at + "/" + name);
    if (!why.empty()) return why;
  }
  return {};
}

std::string misfitOfAll(const json &values, const json &schema, const std::string &at) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    std::string why = misfitOf(values[i], schema, at + "/" + std::to_string(i));
    if (!why.empty()) return why;
  }
  return {};
}

std::string misfitOfReference(const json &value, const std::string &reference, const std::string &at) {
  const std::string marker = ".json#";
  const std::size_t end = reference.find(marker);
  const json &document = schemaNamed(reference.substr(0, end));
  return misfitOf(value, document.at(json::json_pointer(reference.substr(end + marker.size()))), at);
}

bool fitsAny(const json &value, const json &schemas) {
  return std::any_of(schemas.begin(), schemas.end(),
                     [&](const json &each) { return misfitOf(value, each, "").empty(); });
}

bool hasType(const json &value, const json &types) {
  if (types.is_string()) return isOfType(value, types.get<std::string>());
  return std::any_of(types.begin(), types.end(),
                     [&](const json &type) { return isOfType(value, type.get<std::string>()); });
}

// Where and why the value does not fit one word of a schema.
std::string misfitOfWord(const json &value, const json &schema, const std::string &word,
                         const std::string &at) {
  const json &asked = schema.at(word);
  const auto unless = [&](bool fits) { return fits ? std::string() : at + ": not as " + word + " says"; };
  if (word == "$ref") return misfitOfReference(value, asked.get<std::string>(), at);
  if (word == "type") return unless(hasType(value, asked));
  if (word == "const") return unless(value == asked);
  if (word == "enum") return unless(std::find(asked.begin(), asked.end(), value) != asked.end());
  if (word == "pattern") return unless(Pattern(asked.get<std::string>()).matches(value.get<std::string>()));
  if (word == "anyOf") return unless(fitsAny(value, asked));
  if (word == "items") return value.is_array() ? misfitOfAll(value, asked, at) : std::string();
  if (word == "properties") return value.is_object() ? misfitOfMembers(value, schema, at) : std::string();
  static const std::set<std::string> othersTake{"$schema", "$defs", "required", "additionalProperties"};
  if (!othersTake.contains(word)) throw std::logic_error("a word that no schema here has: " + word);
  return {};
}

std::string misfitOf(const json &value, const json &schema, const std::string &at) {
  for (const auto &[word, asked] : schema.items()) {
    std::string why = misfitOfWord(value, schema, word, at);
    if (!why.empty()) return why;
  }
  return {};
}

bool isDeep(const std::string &text) {
  constexpr int deep = 20; // some of the tests have little stack
  int depth = 0;
  for (const char character : text) {
    depth += character == '[' ? 1 : character == ']' ? -1 : 0;
    if (depth > deep) return true;
  }
  return false;
}

// What a command may answer, beside a failure as a whole.
std::vector<std::string> schemasOf(const std::vector<std::string> &words) {
  static const std::vector<std::string> reading{"info", "ls", "stat", "samples", "contents", "find", "check"};
  for (const std::string &word : words) {
    if (word == "batch") {
      std::vector<std::string> all = reading;
      all.insert(all.end(), {"results", "recover", "help"});
      return all;
    }
    if (word == "recover") return {"recover", "results"};
    if (std::find(reading.begin(), reading.end(), word) != reading.end()) return {word};
    static const std::vector<std::string> writing{"export", "wav",   "import", "cp",  "mv",    "rm",
                                                  "rename", "mkdir", "rmdir",  "new", "backup"};
    if (std::find(writing.begin(), writing.end(), word) != writing.end()) return {"results"};
  }
  return {};
}

} // namespace

std::string misfit(const json &value, const std::string &schema) {
  return misfitOf(value, schemaNamed(schema), schema);
}

void expectFitsSchema(const std::vector<std::string> &words, const std::string &answer) {
  std::istringstream lines(answer);
  for (std::string line; std::getline(lines, line);) {
    if (isDeep(line)) continue; // the check goes as deep as the value, on the stack
    const json value = json::parse(line, nullptr, false);
    if (value.is_discarded()) continue; // whoever reads it finds that out
    std::vector<std::string> schemas = schemasOf(words);
    schemas.push_back("failure");
    std::string whys;
    bool fits = false;
    for (const std::string &schema : schemas) {
      const std::string why = misfit(value, schema);
      fits = fits || why.empty();
      whys += why + "\n";
    }
    EXPECT_TRUE(fits) << line << "\n" << whys;
  }
}

} // namespace tessary::test
