#pragma once

#include <cstddef>
#include <cstdint>

#include "fuzz/input.h"
#include "tests/support/bytes.h"

namespace norvad::fuzz {

// Frames as a neighbour sends them through the switch, mostly valid: an input chooses among few streams, VLANs and
// neighbours, so that what it says later is about what it said before.

// Most often one of the ports that are in service; now and then one that is not, or that does not exist.
uint8_t ChoosePort(Input& input);

// Any bytes behind a valid header of the EtherType.
test::Bytes FrameAround(uint8_t port, uint16_t etherType, const test::Bytes& payload);

// Declarations of one to four values in a message, or of many. budget: how many values an input may declare yet.
test::Bytes ComposeMsrp(Input& input, size_t& budget);
test::Bytes ComposeMvrp(Input& input, size_t& budget);

test::Bytes ComposeAnnounce(Input& input);
test::Bytes ComposeSync(Input& input);
test::Bytes ComposeFollowUp(Input& input, uint64_t nowNs);
test::Bytes ComposePdelayReq(Input& input);

// A neighbour's answer to the request with that number on the port.
test::Bytes ComposePdelayResp(uint8_t port, uint16_t sequenceId, uint64_t receivedNs);
test::Bytes ComposePdelayRespFollowUp(uint8_t port, uint16_t sequenceId, uint64_t sentNs, bool sameMake);

// A valid header of any message type, then whatever follows.
test::Bytes ComposePtp(Input& input);

}  // namespace norvad::fuzz
