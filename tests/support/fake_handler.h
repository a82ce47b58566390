#pragma once

#include <boost/program_options.hpp>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "switch/proto_handler.h"

namespace norvad::test {

// A handler with one control option of its own, "--<name> <text>", which it answers with "<name>=<text>;".
class FakeHandler final : public ProtoHandler {
public:
    FakeHandler(uint16_t etherType, std::string name) : etherType(etherType), name(std::move(name)) {}

    uint16_t GetEtherType() const override { return etherType; }
    void HandleFrame(std::span<const uint8_t>, uint16_t) override {}

    void AddControlOptions(boost::program_options::options_description& options) override {
        ++timesAsked;
        options.add_options()(name.c_str(), boost::program_options::value<std::string>(), "text");
    }

    void HandleControlOptions(const boost::program_options::variables_map& values, std::ostream& answer) override {
        ++timesActed;
        if (values.count(name)) answer << name << "=" << values[name].as<std::string>() << ";";
        if (act) act(answer);
    }

    void HandleDaemonControlMessage() override { ++notifications; }

    int timesAsked = 0;
    int timesActed = 0;
    int notifications = 0;
    std::function<void(std::ostream&)> act;

private:
    uint16_t etherType;
    std::string name;
};

}  // namespace norvad::test
