#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>

namespace norvad::board {

enum class Direction : uint8_t { RECEIVE, TRANSMIT };

struct StampKey {
    Direction direction;
    uint8_t port;
    uint8_t messageType;
    uint16_t sequenceId;
    auto operator<=>(const StampKey&) const = default;
};

// The stamps of event messages, each kept until it is asked for, ten seconds at most. Of one type, port and direction
// it keeps as many with successive sequence ids as there is room for: a burst at one port costs no other its stamps.
// Stamps can be ordered to fail as hardware does.
class TimestampStore {
public:
    static constexpr uint16_t capacity = 1024;  // of one type, port and direction
    static constexpr int64_t maximumAgeNs = 10'000'000'000;

    // Keeps value, taken at referenceNs; it replaces a stamp of the same key.
    void Keep(const StampKey& key, uint64_t value, int64_t referenceNs);

    // Hands the stamp out, once. Nothing when there is none, or none yet.
    std::optional<uint64_t> Take(const StampKey& key, int64_t referenceNs);

    size_t Size() const { return stamps.size(); }

    void Clear();

    // The next count stamps of that port and direction are never kept.
    void LoseNext(Direction direction, uint8_t port, uint32_t count);

    // The next count stamps of that port and direction are found only after that many vain queries each.
    void DelayNext(Direction direction, uint8_t port, uint32_t count, uint32_t queries);

private:
    struct Stamp {
        uint16_t sequenceId;
        uint64_t value;
        int64_t referenceNs;
        uint32_t vainQueries;
    };
    struct Fault {
        uint32_t lose = 0;
        uint32_t delay = 0;
        uint32_t queries = 0;
    };

    struct Taken {
        StampKey place;
        int64_t referenceNs;
    };

    static constexpr size_t ports = 8;
    Fault& FaultOf(Direction direction, uint8_t port);
    void ForgetTooOld(int64_t referenceNs);

    std::map<StampKey, Stamp> stamps;  // by place
    std::deque<Taken> taken;           // in the last ten seconds, the oldest in front; most are asked for and gone
    std::array<Fault, 2 * ports> faults;
};

}  // namespace norvad::board
