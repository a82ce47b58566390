#include "msrp/msrp_dump.h"

#include <array>

#include "base/log.h"

namespace norvad {
namespace {

constexpr auto category = LogCategory::MSRP;
constexpr int32_t level = 3;

const char* EventText(uint8_t event) {
    constexpr std::array texts = {"New", "JoinIn", "In", "JoinMt", "Mt", "Lv"};
    return event < texts.size() ? texts[event] : "Unknown";
}

const char* DeclarationText(uint8_t declaration) {
    constexpr std::array texts = {"Ignore", "AskingFailed", "Ready", "Failed"};
    return declaration < texts.size() ? texts[declaration] : "Unknown";
}

void DumpStreamId(const StreamID& id) {
    log(category, level, "\tStream ID 0x%02x%02x%02x%02x%02x%02x:%02x%02x\n", id[0], id[1], id[2], id[3], id[4], id[5],
        id[6], id[7]);
}

void DumpTalkerFields(const TalkerFirstValue& value, uint8_t event) {
    DumpStreamId(value.streamId);
    const MacAddress& da = value.destination;
    log(category, level, "\tDA: 0x%02x%02x%02x%02x%02x%02x:0x%04x\n", da[0], da[1], da[2], da[3], da[4], da[5],
        value.vid.value());
    log(category, level, "\tMaxFrameSize %d MaxIntervalFrame %d DataFramePriority %d AccumulatedLatency %d\n",
        value.maxFrameSize.value(), value.maxIntervalFrames.value(), value.DataFramePriority(),
        static_cast<int32_t>(value.accumulatedLatency.value()));
    log(category, level, "\tAttributeEvent[0] = %s\n\n", EventText(event));
}

}  // namespace

void DumpTalker(uint8_t port, const TalkerFirstValue& value, uint8_t event) {
    log(category, level, "[SW-MSRP] TalkerAdvertise: on port %d\n", port);
    DumpTalkerFields(value, event);
}

void DumpTalkerFailed(uint8_t port, const TalkerFailedFirstValue& value, uint8_t event) {
    log(category, level, "[SW-MSRP] TalkerFailed: on port %d\n", port);
    DumpTalkerFields(value.talker, event);
    log(category, level, "\tFailure code %d\n\n", value.failureCode);
}

void DumpListener(uint8_t port, const ListenerFirstValue& value, uint8_t event, uint8_t declaration) {
    log(category, level, "[SW-MSRP] ListenerVector: on port %d\n", port);
    DumpStreamId(value.streamId);
    log(category, level, "\tAttributeEvent[0] = %s\n", EventText(event));
    log(category, level, "\tAttributeType[0] = %s\n\n", DeclarationText(declaration));
}

}  // namespace norvad
