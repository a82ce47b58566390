#include "ctl/answers.h"

#include <algorithm>
#include <array>
#include <optional>

#include "ctl/failure_codes.h"
#include "ctl/scanner.h"

namespace norvad::ctl {

namespace {

constexpr std::array<std::string_view, 12> applicantStates = {"VO", "VP", "VN", "AN", "AA", "QA",
                                                              "LA", "AO", "QO", "AP", "QP", "LO"};
constexpr std::array<std::string_view, 5> clockStates = {"INITIALIZING", "LISTENING", "ANNOUNCE", "SLAVE", "MASTER"};

template <typename Names>
bool Contains(const Names& names, std::string_view name) {
    return std::find(names.begin(), names.end(), name) != names.end();
}

// Calls take for each line, which may lack its end at the end of the text; what it refuses is not understood.
template <typename Take>
NotUnderstood ForEachLine(std::string_view text, Take take) {
    NotUnderstood notUnderstood;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        if (!take(line)) notUnderstood.Add(line);
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
    return notUnderstood;
}

// The heading "Port 3".
bool IsPortHeading(std::string_view line, std::optional<unsigned>& port) {
    Scanner scanner(line);
    unsigned number = 0;
    if (!scanner.Literal("Port ").Number(number).IsDone() || number >= portNumbers) return false;
    port = number;
    return true;
}

// Calls take with each line below a port's heading and with that port.
template <typename Take>
NotUnderstood ForEachRecord(std::string_view text, Take take) {
    std::optional<unsigned> port;
    return ForEachLine(text,
                       [&](std::string_view line) { return IsPortHeading(line, port) || (port && take(line, *port)); });
}

bool UpOrDown(Scanner& scanner) {
    if (scanner.Try("Up,  ")) return true;
    scanner.Literal("Down,");
    return false;
}

std::optional<Port> ReadPort(std::string_view line) {
    Scanner scanner(line);
    Port port{cpuPort};
    if (!scanner.Try("CPU Port")) {
        scanner.Literal("Port  ").Number(port.number).Literal(" ");
        if (port.number >= cpuPort) scanner.Fail();
    }
    scanner.Literal(" status: is ");
    if (!scanner.Try("Down")) {
        port.isUp = true;
        scanner.Literal("Up,   STP status: ");
        port.isStpUp = UpOrDown(scanner);
        scanner.Literal(" AVB status: ");
        port.isAvbUp = UpOrDown(scanner);
    }
    if (!scanner.IsDone()) return {};
    return port;
}

// " Applicant QA Registrar IN" from there to the end of the line.
Machines ReadMachines(Scanner& scanner) {
    Machines machines;
    machines.applicant = scanner.Until(" Registrar ");
    if (!Contains(applicantStates, machines.applicant)) scanner.Fail();
    if (scanner.Try("IN")) {
        machines.registrar = Registrar::IN;
    } else if (scanner.Try("LV")) {
        machines.registrar = Registrar::LV;
    } else {
        scanner.Literal("MT");
    }
    return machines;
}

// Either kind of talker: the one that failed has more fields.
std::optional<TalkerRecord> ReadTalker(std::string_view line, unsigned port) {
    constexpr std::string_view machinesBegin = " Applicant ";
    Scanner scanner(line);
    TalkerRecord talker{.port = port};
    uint32_t decimalNs = 0;
    const bool failed = scanner.Try("[MSRP] TalkerFailed: ");
    if (!failed) scanner.Literal("[MSRP] Talker: ");
    scanner.Bytes(8, ":", talker.stream).Literal(" MAC: ").Bytes(6, ":", talker.destination);
    scanner.Literal(" AccLatency = 0x").Hexadecimal(talker.latencyNs).Literal(" (").Number(decimalNs).Literal("ns)");
    if (failed) {
        TalkerFailure failure;
        scanner.Literal("\tBridge ID ").Bytes(8, ":", failure.bridge).Literal("\tError code: ");
        failure.words = scanner.Until(machinesBegin);
        failure.code = FailureCode(failure.words);
        if (!failure.code && failure.words != " Unknown") scanner.Fail();
        talker.failure = failure;
    } else {
        scanner.Literal(machinesBegin);
    }
    talker.machines = ReadMachines(scanner);
    if (!scanner.IsDone() || decimalNs != talker.latencyNs) return {};
    return talker;
}

Declaration ReadDeclaration(std::string_view name) {
    if (name == "IGNORE") return Declaration::IGNORE;
    if (name == "ASKING_FAILED") return Declaration::ASKING_FAILED;
    if (name == "READY") return Declaration::READY;
    if (name == "READY_FAILED") return Declaration::READY_FAILED;
    return Declaration::UNKNOWN;
}

std::optional<ListenerRecord> ReadListener(std::string_view line, unsigned port) {
    Scanner scanner(line);
    ListenerRecord listener{.port = port};
    uint64_t address = 0;
    uint64_t unique = 0;
    scanner.Literal("[MSRP] Listener:").Bytes(6, "", address).Literal(":").Bytes(2, "", unique).Literal(" decl:");
    listener.stream = address << 16 | unique;
    const std::string_view declaration = scanner.Until(" Applicant ");
    listener.declaration = ReadDeclaration(declaration);
    if (listener.declaration == Declaration::UNKNOWN && declaration != "UNKNOWN") scanner.Fail();
    listener.machines = ReadMachines(scanner);
    if (!scanner.IsDone()) return {};
    return listener;
}

bool ReadDomain(std::string_view line, Domain& domain) {
    Scanner scanner(line);
    scanner.Literal("[MSRP] Domain:").Number(domain.srClass).Literal(" Pri").Number(domain.priority);
    scanner.Literal(" VLAN").Number(domain.vid).Literal(" Applicant ");
    domain.machines = ReadMachines(scanner);
    return scanner.IsDone() && domain.srClass <= UINT8_MAX && domain.priority <= UINT8_MAX && domain.vid <= UINT16_MAX;
}

bool ReadVlan(std::string_view line, Vlan& vlan) {
    Scanner scanner(line);
    scanner.Literal("[MVRP] Vlan:").Number(vlan.vid).Literal(" Applicant ");
    vlan.machines = ReadMachines(scanner);
    return scanner.IsDone() && vlan.vid <= UINT16_MAX;
}

std::optional<Clock> ReadStatus(std::string_view line) {
    Scanner scanner(line);
    Clock clock;
    clock.state = scanner.Literal("ST:").Until(":");
    if (!Contains(clockStates, clock.state)) scanner.Fail();
    scanner.Literal("MC:0x").Bytes(8, "", clock.grandmaster).Literal(":LC:0x").Bytes(8, "", clock.neighbour);
    scanner.Literal(":SR:").Number(clock.stepsRemoved);
    scanner.Literal(":PD0:").Number(clock.linkDelayNs[0]).Literal("ns:PD1:").Number(clock.linkDelayNs[1]);
    scanner.Literal("ns:AD:").Number(clock.offsetNs).Literal("ns:RMS:").Number(clock.rms);
    scanner.Literal(":RR0:").Number(clock.rateRatio[0]).Literal(":RR1:").Number(clock.rateRatio[1]);
    scanner.Literal(":CRR:").Number(clock.cumulativeRateRatio).Literal(":w:").Number(clock.windowMode);
    if (!scanner.IsDone()) return {};
    return clock;
}

}  // namespace

void NotUnderstood::Add(std::string_view line) {
    ++count;
    if (lines.size() < kept) lines.emplace_back(line);
}

void NotUnderstood::Add(const NotUnderstood& others) {
    count += others.count;
    for (const std::string& line : others.lines) {
        if (lines.size() < kept) lines.push_back(line);
    }
}

PortsAnswer ReadPorts(std::string_view answer) {
    PortsAnswer result;
    result.notUnderstood = ForEachLine(answer, [&](std::string_view line) {
        const auto port = ReadPort(line);
        if (port) result.ports.push_back(*port);
        return port.has_value();
    });
    return result;
}

StreamsAnswer ReadStreams(std::string_view answer) {
    StreamsAnswer result;
    unsigned talkers = 0, failed = 0, listeners = 0;
    result.notUnderstood = ForEachRecord(answer, [&](std::string_view line, unsigned port) {
        if (auto talker = ReadTalker(line, port)) {
            talker->number = talker->failure ? failed++ : talkers++;
            result.talkers.push_back(*talker);
            return true;
        }
        auto listener = ReadListener(line, port);
        if (!listener) return false;
        listener->number = listeners++;
        result.listeners.push_back(*listener);
        return true;
    });
    return result;
}

DomainsAnswer ReadDomains(std::string_view answer) {
    DomainsAnswer result;
    result.notUnderstood = ForEachRecord(answer, [&](std::string_view line, unsigned port) {
        Domain domain{.port = port};
        const bool understood = ReadDomain(line, domain);
        if (understood) result.domains.push_back(domain);
        return understood;
    });
    return result;
}

VlansAnswer ReadVlans(std::string_view answer) {
    VlansAnswer result;
    result.notUnderstood = ForEachRecord(answer, [&](std::string_view line, unsigned port) {
        Vlan vlan{.port = port};
        const bool understood = ReadVlan(line, vlan);
        if (understood) result.vlans.push_back(vlan);
        return understood;
    });
    return result;
}

ClockAnswer ReadClock(std::string_view answer) {
    ClockAnswer result;
    result.notUnderstood = ForEachLine(answer, [&](std::string_view line) {
        const auto clock = result.clock ? std::nullopt : ReadStatus(line);
        if (clock) result.clock = clock;
        return clock.has_value();
    });
    return result;
}

}  // namespace norvad::ctl
