#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <type_traits>

namespace norvad {

// A record of Boost.Endian fields and bytes, laid out exactly as it travels.
template <typename Record>
concept WireRecord = std::is_trivially_copyable_v<Record> && alignof(Record) == 1;

// The record at offset of bytes; nothing when bytes do not hold it whole.
template <WireRecord Record>
std::optional<Record> Peek(std::span<const uint8_t> bytes, size_t offset = 0) {
    if (offset > bytes.size() || bytes.size() - offset < sizeof(Record)) return {};
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof(Record));
    return record;
}

// Takes a record off the front of bytes; takes nothing when bytes are too few.
template <WireRecord Record>
std::optional<Record> Take(std::span<const uint8_t>& bytes) {
    const auto record = Peek<Record>(bytes);
    if (record) bytes = bytes.subspan(sizeof(Record));
    return record;
}

// Writes the record at offset of bytes; false, and nothing written, when it does not fit.
template <WireRecord Record>
bool Put(std::span<uint8_t> bytes, size_t offset, const Record& record) {
    if (offset > bytes.size() || bytes.size() - offset < sizeof(Record)) return false;
    std::memcpy(bytes.data() + offset, &record, sizeof(Record));
    return true;
}

// The bytes of a record, for writing it out or comparing it.
template <WireRecord Record>
std::span<const uint8_t, sizeof(Record)> BytesOf(const Record& record) {
    return std::span<const uint8_t, sizeof(Record)>(reinterpret_cast<const uint8_t*>(&record), sizeof(Record));
}

}  // namespace norvad
