// How far off time is behind a row of bridges in real time: of daemons on virtual switches and, at the same time, of
// ptp4l as transparent clocks, each row between a ptp4l as grandmaster and one that follows it. All ptp4l run free and
// stamp by the system clock, so what the last one takes for its offset is the error of the row and of its own stamps;
// a row of no bridges shows the latter.

#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <deque>
#include <filesystem>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bench/samples.h"
#include "bench/transparent_clock.h"
#include "bench/whole_bridge.h"
#include "tests/support/system/network.h"
#include "tests/support/system/private_world.h"
#include "tests/support/system/process.h"
#include "tests/support/system/ptp4l_peer.h"

namespace norvad::bench {

namespace {

using namespace test;
using std::chrono::seconds;

constexpr auto settling = seconds(30);
constexpr auto measured = seconds(60);

// Of the oscillators of a row's daemons, which can be no more.
constexpr std::array<int32_t, 7> clockErrorsPpb{50'000, -43'000, 36'000, -29'000, 22'000, -15'000, 8'000};

// A network of its own, which the caller enters and a process that does nothing keeps.
class Place {
public:
    Place() {
        StartFreshNetwork();
        keeper.emplace(std::vector<std::string>{"sleep", "infinity"});
    }

    std::string Id() const { return std::to_string(keeper->Id()); }
    std::vector<std::string> Enter(std::vector<std::string> command) const {
        command.insert(command.begin(), {"nsenter", "--target", Id(), "--net", "--ipc"});
        return command;
    }

private:
    std::optional<Process> keeper;
};

struct End {
    const Place& place;
    std::string interface;
};

void LayCableBetween(const End& a, const End& b) {
    RunCommand({"ip", "link", "add", "name", a.interface, "netns", a.place.Id(), "type", "veth", "peer", "name",
                b.interface, "netns", b.place.Id()});
    for (const End& end : {a, b}) RunCommand(end.place.Enter({"ip", "link", "set", "dev", end.interface, "up"}));
}

// A row between a grandmaster at gm and a follower at end, two interfaces of the place that the caller is in.
class Row {
public:
    Row(std::string name, const std::string& gm, const std::string& end)
        : name(std::move(name)), grandmaster(gm, grandmasterRole), follower(end, slaveRole) {}

    void Forget() { seen = follower.Log().size(); }

    // A line of the follower reads "ptp4l[1.234]: master offset -1234 s0 freq +0 path delay 567".
    void Read() {
        std::istringstream lines(follower.Log().substr(seen));
        const std::string before = "master offset";
        for (std::string line; std::getline(lines, line);) {
            const auto at = line.find(before);
            if (at == std::string::npos) continue;
            const double ns = std::stod(line.substr(at + before.size()));
            offsets.Add(ns);
            errors.Add(std::fabs(ns));
        }
        if (errors.Count() == 0) Fail(name + ": the follower measured nothing\n" + follower.Log());
    }

    void Print() const {
        errors.Print((name + ", distance").c_str(), "ns");
        std::printf("%-44s %.0f ns\n", (name + ", median of the offsets").c_str(), offsets.Quantile(0.5));
    }

    const std::string name;
    Samples errors;

private:
    Ptp4lPeer grandmaster;
    Ptp4lPeer follower;
    Samples offsets;
    size_t seen = 0;
};

// The daemons of a row. Each is the only one that knows of its process file.
class Daemons {
public:
    explicit Daemons(const std::deque<Place>& places) {
        for (const Place& place : places) {
            Start(place);
            if (!WaitFor([&] { return Running() == boards.size(); })) Fail(boards.back().Errors());
            std::filesystem::remove("/tmp/norvad.pid");
        }
    }

private:
    void Start(const Place& place) {
        const size_t number = boards.size();
        const std::string error = std::to_string(clockErrorsPpb.at(number));
        boards.emplace_back(
            place.Enter({NORVAD_VIRTUAL_SWITCH, "--port0", "port0", "--port1", "port1", "--cpu-address",
                         "02:4e:56:44:01:0" + std::to_string(number), "--clock-error", error, "--cut-ptp-trailer", "0",
                         "--cut-ptp-trailer", "1", "--quiet", "--", NORVAD_DAEMON, "-n"}));
    }

    static size_t Running() {
        size_t running = 0;
        for (const pid_t id : ProcessesNamed("norvad3")) running += IsInEventLoop(id);
        return running;
    }

    std::deque<Process> boards;
};

void PrintRatio(const Row& ours, const Row& theirs) {
    std::printf("%-44s median %.2f, p90 %.2f\n", (ours.name + " / " + theirs.name).c_str(),
                ours.errors.Quantile(0.5) / theirs.errors.Quantile(0.5),
                ours.errors.Quantile(0.9) / theirs.errors.Quantile(0.9));
}

void Measure(size_t bridges) {
    EmptyTemporaryDirectory();
    std::deque<Place> places(bridges);
    const Place hub;  // the last, where this process stays

    LayCable("gm0", "end0");
    LayCableBetween({hub, "gm1"}, {places.front(), "port0"});
    for (size_t i = 1; i < bridges; ++i) LayCableBetween({places[i - 1], "port1"}, {places[i], "port0"});
    LayCableBetween({places.back(), "port1"}, {hub, "end1"});
    LayCable("gm2", "up0");
    for (size_t i = 1; i < bridges; ++i) LayCable("down" + std::to_string(i - 1), "up" + std::to_string(i));
    LayCable("down" + std::to_string(bridges - 1), "end2");

    const Daemons daemons(places);
    std::deque<TransparentClock> transparent;
    for (size_t i = 0; i < bridges; ++i) transparent.emplace_back("up" + std::to_string(i), "down" + std::to_string(i));

    const std::string count = std::to_string(bridges);
    std::deque<Row> rows;
    rows.emplace_back("a cable", "gm0", "end0");
    rows.emplace_back(count + " daemons", "gm1", "end1");
    rows.emplace_back(count + " ptp4l", "gm2", "end2");
    std::this_thread::sleep_for(settling);
    for (Row& row : rows) row.Forget();
    std::this_thread::sleep_for(measured);
    for (Row& row : rows) {
        row.Read();
        row.Print();
    }
    PrintRatio(rows[1], rows[2]);
}

}  // namespace

}  // namespace norvad::bench

int main() {
    norvad::test::EnterPrivateWorld({NORVAD_SOURCE_DIR, NORVAD_BINARY_DIR});
    setvbuf(stdout, nullptr, _IOLBF, 0);
    for (const size_t bridges : {1, 3, 7}) norvad::bench::Measure(bridges);
    return 0;
}
