#pragma once

#include <string>

#include "ptp/clocks.h"
#include "ptp/grandmaster_message.h"

namespace norvad {

// Where other programs on this machine learn of the grandmaster.
class GrandmasterOutput {
public:
    virtual ~GrandmasterOutput() = default;
    virtual void WriteIdentity(const ClockIdentity& identity) = 0;
    virtual void Send(const GrandmasterMessage& message) = 0;
};

// A file with the 8 bytes of the identity in wire order, and a message queue that its reader has made. Failures are
// reported and forgotten; a file that cannot be opened is not even reported.
class GrandmasterFileAndQueue final : public GrandmasterOutput {
public:
    explicit GrandmasterFileAndQueue(std::string fileName = "/tmp/ptp_grandmaster", std::string queueName = "/gptp.mq");

    void WriteIdentity(const ClockIdentity& identity) override;
    void Send(const GrandmasterMessage& message) override;

private:
    std::string fileName;
    std::string queueName;
};

}  // namespace norvad
