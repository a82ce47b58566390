#include "daemon/assembly.h"

#include <boost/make_shared.hpp>
#include <utility>

#include "base/clock.h"
#include "daemon/control/control_channel.h"
#include "daemon/control/control_queues.h"
#include "daemon/daemon_options.h"
#include "daemon/grandmaster_file_and_queue.h"
#include "daemon/standard_log.h"
#include "msrp/msrp_handler.h"
#include "mvrp/mvrp_handler.h"
#include "ptp/ptp_handler.h"
#include "switch/kernel/kernel_doors.h"
#include "switch/lldp_handler.h"
#include "switch/switch.h"

namespace norvad {

void AddHandlers(Switch& bridge, const PtpSettings& settings, std::unique_ptr<GrandmasterOutput> output) {
    FrameDispatcher& registry = bridge.Dispatcher();
    registry.AddHandler(boost::make_shared<MSRPHandler>(bridge, bridge, bridge.Timers()));
    registry.AddHandler(boost::make_shared<MVRPHandler>(bridge, bridge, bridge.Timers()));
    registry.AddHandler(boost::make_shared<PTPHandler>(bridge, bridge, bridge.Timers(), bridge.GetMacAddress(),
                                                       settings, std::move(output)));
    registry.AddHandler(boost::make_shared<LLDPHandler>());
}

EventSources SourcesOf(Switch& bridge, ControlChannel& control) {
    return {
        .frames = {"frames", bridge.Dispatcher().Descriptor(), [&bridge] { bridge.Dispatcher().ReadFrame(); },
                   [&bridge] { return bridge.Dispatcher().TakeError(); }},
        .requests = {"requests",
                     bridge.Requests().Descriptor(),
                     [&control] { control.serveControlRequest(); },
                     {},
                     [&control] { return control.IsAnswering(); }},
        .links = {"links", bridge.LinkDescriptor(), [&bridge] { bridge.UpdateLinks(); },
                  [&bridge] { return bridge.TakeLinkError(); }},
    };
}

void RunDaemon(const DaemonOptions& options, const PtpSettings& settings) {
    SystemClock clock;
    const StandardLog lines(clock);
    KernelDoors doors(clock);
    KernelControlQueues queues;
    Switch bridge(options.interface, clock, doors);
    AddHandlers(bridge, settings, std::make_unique<GrandmasterFileAndQueue>());
    ControlChannel control(bridge, queues);
    bridge.Dispatcher().Start();

    const FileDescriptor signals = OpenSignalDescriptor();
    RaisePriority();
    KernelWaiting waiting;
    EventLoop(bridge.Timers(), waiting, signals.Get(), SourcesOf(bridge, control)).Run();
}

}  // namespace norvad
