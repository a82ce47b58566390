#include "lab/network/program/file_value.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "lab/network/program/units.h"

namespace norvad::network {

namespace {

std::string Place(const std::string& file, const YAML::Mark& mark) {
    return fmt::format("{}:{}:{}: ", file, std::max(mark.line, 0) + 1, std::max(mark.column, 0) + 1);
}

std::optional<int64_t> ParseNumber(const std::string& text) {
    int64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (result.ec != std::errc{} || result.ptr != end) return {};
    return number;
}

// One step of the way to a value; nothing where it leads nowhere.
std::optional<YAML::Node> Part(const YAML::Node& node, const std::string& name) {
    if (node.IsMap()) {
        const YAML::Node part = node[name];
        if (part.IsDefined()) return part;
    }
    if (node.IsSequence()) {
        const auto index = ParseNumber(name);
        if (index && *index >= 0 && static_cast<size_t>(*index) < node.size()) return node[static_cast<size_t>(*index)];
    }
    return {};
}

void Apply(YAML::Node node, const std::string& setting) {
    const size_t equals = setting.find('=');
    if (equals == std::string::npos) throw lab::StartError("--set " + setting + ": it reads key=value");
    const std::string way = setting.substr(0, equals);
    for (size_t begin = 0; begin <= way.size();) {
        const size_t end = std::min(way.find('.', begin), way.size());
        const auto part = Part(node, way.substr(begin, end - begin));
        if (!part) throw lab::StartError("--set " + setting + ": the file has no such value");
        node.reset(*part);
        begin = end + 1;
    }
    if (!node.IsScalar()) throw lab::StartError("--set " + setting + ": the file has more than one value there");
    node = setting.substr(equals + 1);
}

}  // namespace

FileError::FileError(const std::string& file, const YAML::Mark& mark, const std::string& text)
    : StartError(Place(file, mark) + text) {}

FileValue::FileValue(YAML::Node node, std::shared_ptr<const std::string> file)
    : node(std::move(node)), file(std::move(file)) {}

void FileValue::Refuse(const std::string& text) const {
    throw FileError(*file, node.Mark(), text);
}

std::string FileValue::Text() const {
    if (!node.IsScalar()) Refuse("one value is wanted here, no list and no map");
    return node.Scalar();
}

int64_t FileValue::Number(int64_t least, int64_t most) const {
    const auto number = ParseNumber(Text());
    if (!number || *number < least || *number > most) {
        Refuse(fmt::format("'{}' is no whole number from {} to {}", Text(), least, most));
    }
    return *number;
}

bool FileValue::YesOrNo() const {
    const std::string text = Text();
    if (text == "yes" || text == "true") return true;
    if (text != "no" && text != "false") Refuse(fmt::format("'{}' is neither yes nor no", text));
    return false;
}

int64_t FileValue::DurationNs(int64_t leastNs, int64_t mostNs) const {
    const auto ns = ParseDurationNs(Text());
    if (!ns) Refuse(fmt::format("'{}' is no time such as 200ns, 1.5ms or 60s", Text()));
    if (*ns < leastNs || *ns > mostNs) Refuse(fmt::format("'{}' is not from {} ns to {} ns", Text(), leastNs, mostNs));
    return *ns;
}

int64_t FileValue::BitsPerSecond(int64_t least, int64_t most) const {
    const auto rate = ParseBitsPerSecond(Text());
    if (!rate) Refuse(fmt::format("'{}' is no rate in bits per second such as 100M or 1G", Text()));
    if (*rate < least || *rate > most) Refuse(fmt::format("'{}' is not from {} to {} bits/s", Text(), least, most));
    return *rate;
}

int64_t FileValue::FrequencyPpb(int64_t most) const {
    const auto ppb = ParseFrequencyPpb(Text());
    if (!ppb) Refuse(fmt::format("'{}' is no frequency error such as 50ppm or -20ppb", Text()));
    if (*ppb < -most || *ppb > most) Refuse(fmt::format("'{}' is beyond {} ppb", Text(), most));
    return *ppb;
}

int64_t FileValue::RampPpb(int64_t most) const {
    const auto ppb = ParseRampPpb(Text());
    if (!ppb) Refuse(fmt::format("'{}' is no ramp such as 1ppm/s", Text()));
    if (*ppb < -most || *ppb > most) Refuse(fmt::format("'{}' is beyond {} ppb/s", Text(), most));
    return *ppb;
}

uint32_t FileValue::SharePerMillion() const {
    const auto share = ParseSharePerMillion(Text());
    if (!share || *share < 0 || *share > 1'000'000) Refuse(fmt::format("'{}' is no share from 0% to 100%", Text()));
    return static_cast<uint32_t>(*share);
}

std::vector<FileValue> FileValue::List() const {
    if (!node.IsSequence()) return {*this};
    std::vector<FileValue> values;
    for (const YAML::Node& each : node) values.emplace_back(each, file);
    return values;
}

FileMap::FileMap(const FileValue& value) : value(value) {
    if (!value.node.IsMap()) value.Refuse("names and values are wanted here, such as {name: value}");
    for (const auto& part : value.node) {
        const FileValue name(part.first, value.file);
        const bool isTwice =
            std::any_of(parts.begin(), parts.end(), [&](const auto& other) { return other.first == name.Text(); });
        if (isTwice) name.Refuse(fmt::format("'{}' stands here twice", name.Text()));
        parts.emplace_back(name.Text(), FileValue(part.second, value.file));
        nodes.push_back(part.first);
    }
}

std::optional<FileValue> FileMap::Find(const std::string& name) {
    known.insert(name);
    for (const auto& [partName, part] : parts) {
        if (partName == name) return part;
    }
    return {};
}

FileValue FileMap::Need(const std::string& name) {
    const auto found = Find(name);
    if (!found) value.Refuse(fmt::format("'{}' is missing", name));
    return *found;
}

void FileMap::RefuseOthers() const {
    for (size_t i = 0; i < parts.size(); ++i) {
        if (known.contains(parts[i].first)) continue;
        std::string possible;
        for (const auto& name : known) possible += (possible.empty() ? "" : ", ") + name;
        FileValue(nodes[i], value.file).Refuse("'" + parts[i].first + "' is not known here; possible are " + possible);
    }
}

FileValue ParseFile(const std::string& name, const std::string& text, const std::vector<std::string>& settings) {
    constexpr size_t mostBytes = 1'000'000;
    if (text.size() > mostBytes) throw lab::StartError(name + ": a file has a million bytes at most");
    YAML::Node root;
    try {
        root = YAML::Load(text);
    } catch (const YAML::Exception& error) {
        throw FileError(name, error.mark, error.msg);
    }
    for (const auto& setting : settings) Apply(root, setting);
    return {root, std::make_shared<const std::string>(name)};
}

}  // namespace norvad::network
