#pragma once

#include <string>

#include "ptp/grandmaster_export.h"

namespace norvad {

// A file with the 8 bytes of the identity in wire order, and a message queue that its reader has made. Failures are
// reported and forgotten; a file that cannot be opened, or is no regular file, is not even reported.
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
