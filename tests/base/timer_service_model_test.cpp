// Random lives of timers, in the service and in a literal model side by side.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "base/timer_service.h"
#include "tests/support/captured_log.h"
#include "tests/support/stepped_clock.h"
#include "tests/support/timer_model.h"

namespace norvad::test {
namespace {

// Timers under numbers that the test gives, on a clock of their own.
class TimerWorld {
public:
    virtual ~TimerWorld() = default;

    virtual void Add(uint32_t id, uint32_t firstDelayMs, uint32_t intervalMs, uint32_t jitterMs) = 0;
    virtual void Restart(uint32_t id) = 0;
    virtual void RestartIn(uint32_t id, uint32_t delayMs) = 0;
    virtual void Cancel(uint32_t id) = 0;
    virtual void StartAll() = 0;
    virtual void SetIntervalMs(uint32_t id, uint32_t intervalMs) = 0;
    virtual void SetExpiryUs(uint32_t id, int64_t expiryUs) = 0;
    virtual std::map<uint32_t, int64_t> ExpiriesUs() const = 0;  // of those that run
    virtual uint32_t RunDue() = 0;

    int64_t NowUs() const { return static_cast<int64_t>(clock.Ns() / 1'000); }

    SteppedClock clock;
    std::vector<std::pair<uint32_t, int64_t>> fired;  // which and when
    std::function<void(uint32_t)> onFire;
    std::string logged;
};

class ServiceWorld final : public TimerWorld {
public:
    explicit ServiceWorld(uint32_t seed) { timers.Random().Seed(seed); }

    void Add(uint32_t id, uint32_t firstDelayMs, uint32_t intervalMs, uint32_t jitterMs) override {
        const TimerCallback callback = [this](uint32_t fires) { Fire(fires); };
        handles[id] = intervalMs == 0 && jitterMs == 0
                          ? timers.addTimer(firstDelayMs, callback, id)
                          : timers.addPeriodicTimer(firstDelayMs, intervalMs, jitterMs, callback, id);
    }
    void Restart(uint32_t id) override { timers.restart(handles.at(id)); }
    void RestartIn(uint32_t id, uint32_t delayMs) override { timers.restartIn(handles.at(id), delayMs); }
    void Cancel(uint32_t id) override {
        timers.cancel(handles.at(id));
        handles.erase(id);
    }
    void StartAll() override { timers.startAll(); }
    void SetIntervalMs(uint32_t id, uint32_t intervalMs) override { handles.at(id)->intervalMs = intervalMs; }
    void SetExpiryUs(uint32_t id, int64_t expiryUs) override {
        handles.at(id)->expirySeconds = static_cast<uint32_t>(expiryUs / 1'000'000);
        handles.at(id)->expiryMicroseconds = static_cast<uint32_t>(expiryUs % 1'000'000);
    }
    std::map<uint32_t, int64_t> ExpiriesUs() const override {
        std::map<uint32_t, int64_t> expiries;
        for (const auto& [id, timer] : handles) {
            expiries[id] = int64_t{timer->expirySeconds} * 1'000'000 + timer->expiryMicroseconds;
        }
        return expiries;
    }
    uint32_t RunDue() override {
        CapturedLog captured;
        const uint32_t wait = timers.runDue();
        logged += captured.Text();
        return wait;
    }

private:
    void Fire(uint32_t id) {
        fired.emplace_back(id, NowUs());
        onFire(id);
        const auto found = handles.find(id);  // a one-shot's handle dies now
        if (found != handles.end() && found->second->intervalMs == 0) handles.erase(found);
    }

    TimerService timers{clock};
    std::map<uint32_t, Timer*> handles;
};

class ModelWorld final : public TimerWorld {
public:
    explicit ModelWorld(uint32_t seed) { timers.random.Seed(seed); }

    void Add(uint32_t id, uint32_t firstDelayMs, uint32_t intervalMs, uint32_t jitterMs) override {
        const auto callback = [this](uint32_t fires) {
            fired.emplace_back(fires, NowUs());
            onFire(fires);
        };
        places[id] = timers.Add(firstDelayMs, intervalMs, jitterMs, callback, id);
    }
    void Restart(uint32_t id) override { timers.Restart(places.at(id)); }
    void RestartIn(uint32_t id, uint32_t delayMs) override { timers.RestartIn(places.at(id), delayMs); }
    void Cancel(uint32_t id) override { timers.Cancel(places.at(id)); }
    void StartAll() override { timers.StartAll(); }
    void SetIntervalMs(uint32_t id, uint32_t intervalMs) override { timers.SetIntervalMs(places.at(id), intervalMs); }
    void SetExpiryUs(uint32_t id, int64_t expiryUs) override { timers.SetExpiryUs(places.at(id), expiryUs); }
    std::map<uint32_t, int64_t> ExpiriesUs() const override {
        std::map<uint32_t, int64_t> expiries;
        for (const auto& [id, place] : places) {
            if (timers.IsRunning(place)) expiries[id] = timers.ExpiryUs(place);
        }
        return expiries;
    }
    uint32_t RunDue() override { return timers.RunDue(); }

private:
    TimerModel timers{clock, logged};
    std::map<uint32_t, size_t> places;
};

// Does the same to whichever world it is given: what it draws depends on nothing but the seed and what happens there.
class Life {
public:
    Life(TimerWorld& world, uint32_t seed) : world(world), random(seed) {
        world.onFire = [this](uint32_t id) { InCallback(id); };
    }

    // Returns the wait, 0 when no pass was made.
    uint32_t Act() {
        switch (Below(8)) {
            case 0:
            case 1:
                AddOne();
                return 0;
            case 2:
                ChangeAnother();
                return 0;
            case 3:
                if (Below(20) == 0) world.StartAll();
                return 0;
            default:
                PassTime(10'000'000);
                return world.RunDue();
        }
    }

private:
    uint32_t Below(uint32_t bound) { return static_cast<uint32_t>(random() % bound); }

    // Mostly short, sometimes none, now and then weeks.
    uint32_t DelayMs() {
        switch (Below(20)) {
            case 0:
                return 0;
            case 1:
                return Below(20u * 24 * 3'600'000);
            default:
                return Below(3'000);
        }
    }
    void PassTime(uint64_t upToUs) {
        if (Below(200) == 0) upToUs = uint64_t{10} * 24 * 3'600'000'000;
        if (Below(3) == 0) upToUs = 2'000;
        world.clock.AdvanceNs((uint64_t{random()} << 20) % (upToUs * 1'000));
    }
    void AddOne() {
        const bool periodic = Below(2) == 0;
        const uint32_t intervalMs = periodic ? DelayMs() + 1 : 0;
        const uint32_t jitterMs = periodic && Below(2) == 0 ? 1 + Below(500) : 0;
        const uint32_t firstDelayMs = DelayMs();
        if (nextId < 60) world.Add(nextId++, firstDelayMs, intervalMs, jitterMs);
    }
    // Of a timer that runs, the one whose callback is under way among them.
    void ChangeAnother() {
        const auto running = world.ExpiriesUs();
        if (running.empty()) return;
        const uint32_t id = std::next(running.begin(), Below(static_cast<uint32_t>(running.size())))->first;
        switch (Below(4)) {
            case 0:
                return world.Cancel(id);
            case 1:
                return world.Restart(id);
            default:
                return world.RestartIn(id, DelayMs());
        }
    }
    void InCallback(uint32_t id) {
        switch (Below(12)) {
            case 0:
                return AddOne();
            case 1:
            case 2:
                return ChangeAnother();
            case 3:
                return world.Cancel(id);
            case 4:
                return world.SetIntervalMs(id, Below(3) == 0 ? Below(1'000) : 0);
            case 5:
                return world.SetExpiryUs(id, world.NowUs() + Below(4'000'000) - 1'000'000);
            case 6:
                return PassTime(100'000);
            default:
                return;
        }
    }

    TimerWorld& world;
    std::mt19937 random;
    uint32_t nextId = 0;
};

TEST(TimerServiceAndItsModel, FireTheSameTimersInTheSameOrderAndWaitAsLong) {
    constexpr uint32_t runs = 300;
    constexpr int actions = 300;
    size_t fired = 0;

    for (uint32_t seed = 0; seed < runs; ++seed) {
        ServiceWorld service(seed);
        ModelWorld model(seed);
        Life ofService(service, seed);
        Life ofModel(model, seed);
        for (int action = 0; action < actions; ++action) {
            const uint32_t wait = ofService.Act();
            ASSERT_EQ(wait, ofModel.Act()) << "seed " << seed << " action " << action;
            ASSERT_EQ(service.fired, model.fired) << "seed " << seed << " action " << action;
            ASSERT_EQ(service.ExpiriesUs(), model.ExpiriesUs()) << "seed " << seed << " action " << action;
        }
        ASSERT_EQ(service.logged, model.logged) << "seed " << seed;
        fired += service.fired.size();
    }

    EXPECT_GT(fired, runs * 100u);  // or the runs were too tame to tell
}

}  // namespace
}  // namespace norvad::test
