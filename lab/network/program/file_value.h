#pragma once

#include <yaml-cpp/yaml.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lab/common/errors.h"

namespace norvad::network {

// What is wrong in a file: "FILE:LINE:COLUMN: text".
class FileError : public lab::StartError {
public:
    FileError(const std::string& file, const YAML::Mark& mark, const std::string& text);
};

// One value of a YAML file that knows where it stands, so that whoever cannot use it says so at the right place.
class FileValue {
public:
    FileValue(YAML::Node node, std::shared_ptr<const std::string> file);

    [[noreturn]] void Refuse(const std::string& text) const;

    std::string Text() const;  // of a value that is neither a list nor a map
    int64_t Number(int64_t least, int64_t most) const;
    bool YesOrNo() const;
    int64_t DurationNs(int64_t leastNs, int64_t mostNs) const;
    int64_t BitsPerSecond(int64_t least, int64_t most) const;
    int64_t FrequencyPpb(int64_t most) const;  // -most..most
    int64_t RampPpb(int64_t most) const;       // likewise
    uint32_t SharePerMillion() const;

    bool IsMap() const { return node.IsMap(); }
    std::vector<FileValue> List() const;  // what is no list is one of one value

private:
    friend class FileMap;

    YAML::Node node;
    std::shared_ptr<const std::string> file;  // its name
};

// A value that has named parts. Whoever reads it asks for all that it may have, and then refuses the others.
class FileMap {
public:
    explicit FileMap(const FileValue& value);  // refuses what is no map, and names that stand there twice

    const FileValue& Value() const { return value; }
    std::optional<FileValue> Find(const std::string& name);
    FileValue Need(const std::string& name);  // refuses a map without it
    void RefuseOthers() const;

private:
    FileValue value;
    std::vector<std::pair<std::string, FileValue>> parts;  // by the place of the name
    std::vector<YAML::Node> nodes;                         // likewise
    std::set<std::string> known;
};

// The whole of a file. settings replace single values in it: "bridges.0.row=100" names the way to one, list items by
// their number from 0. Throws FileError, and StartError for a setting without a place in the file.
FileValue ParseFile(const std::string& name, const std::string& text, const std::vector<std::string>& settings);

}  // namespace norvad::network
