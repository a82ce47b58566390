#pragma once

#include <boost/program_options.hpp>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "switch/proto_handler.h"
#include "tests/support/bytes.h"

namespace norvad::test {

// A handler that writes down what it is told, in a list that it may share with others and that outlives it. It has one
// control option, "--<name> <text>", which it answers with "<name>=<text>;".
class RecordingHandler final : public ProtoHandler {
public:
    RecordingHandler(uint16_t etherType, std::string name, std::vector<std::string>& events)
        : etherType(etherType), name(std::move(name)), events(events) {}
    ~RecordingHandler() override { Note("destroyed"); }

    std::vector<Bytes> frames;
    const MacAddress* group = nullptr;
    I2Switch* owner = nullptr;
    std::function<void(std::ostream&)> act;  // when set, adds to each answer

    uint16_t GetEtherType() const override { return etherType; }
    void HandleFrame(std::span<const uint8_t> frame, uint16_t type) override {
        frames.push_back(Copy(frame));
        Note(type == etherType ? "frame" : "foreign frame");
    }
    const MacAddress* GetMulticastAddress() const override { return group; }
    void PortUp(uint8_t port) override { Note("up", port); }
    void PortDown(uint8_t port) override { Note("down", port); }
    void PortStpUp(uint8_t port) override { Note("STP up", port); }
    void PortStpDown(uint8_t port) override { Note("STP down", port); }
    void PortAvbUp(uint8_t port) override { Note("AVB up", port); }
    void PortAvbDown(uint8_t port) override { Note("AVB down", port); }
    void SetSwitch(I2Switch& theSwitch) override { owner = &theSwitch; }
    void AddControlOptions(boost::program_options::options_description& options) override {
        Note("options");
        options.add_options()(name.c_str(), boost::program_options::value<std::string>(), "text");
    }
    void HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) override {
        Note("values");
        if (values.count(name)) answer << name << "=" << values[name].as<std::string>() << ";";
        if (act) act(answer);
    }
    void HandleDaemonControlMessage() override { Note("message"); }
    void Notify(uint32_t value) override { Note("notify", value); }

private:
    void Note(const std::string& event) { events.push_back(name + " " + event); }
    void Note(const std::string& event, uint32_t number) { Note(event + " " + std::to_string(number)); }

    uint16_t etherType;
    std::string name;
    std::vector<std::string>& events;
};

}  // namespace norvad::test
