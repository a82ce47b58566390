#include "ctl/serve/api.h"

#include <algorithm>

#include "ctl/json_views.h"
#include "ctl/metrics.h"

namespace norvad::ctl {

namespace {

constexpr std::string_view jsonType = "application/json";
constexpr std::string_view metricsType = "text/plain; version=0.0.4; charset=utf-8";

Answer Metrics(const Selection&, const BridgeState& state) {
    return {.type = metricsType, .body = MetricsText(state.IsAnswered() ? &state.snapshot : nullptr, &state.counters)};
}

Answer Document(const Json& members, const BridgeState& state) {
    Json document = {{"version", jsonVersion}};
    document.update(members);
    document["notUnderstood"] = NotUnderstoodJson(state.notUnderstood);
    return {.type = jsonType, .body = document.dump() + "\n"};
}

template <typename Item>
Answer List(const char* name, const std::vector<Item>& all, Json (*describe)(const std::vector<Item>&),
            const Selection& selection, const BridgeState& state) {
    const auto items = Filter(selection, all);
    return Document({{"count", items.size()}, {name, describe(Page(selection, items))}}, state);
}

Json ClockOrNull(const Snapshot& snapshot) {
    return snapshot.clock ? ClockJson(*snapshot.clock) : Json(nullptr);
}

Answer Bridge(const Selection& selection, const BridgeState& state) {
    const Snapshot& snapshot = state.snapshot;
    const auto streams = Page(selection, Filter(selection, snapshot.streams));
    return Document({{"clock", ClockOrNull(snapshot)},
                     {"ports", PortsJson(Filter(selection, snapshot.ports))},
                     {"streams", StreamsJson(streams)},
                     {"vlans", VlansJson(Filter(selection, snapshot.vlans))},
                     {"domains", DomainsJson(Filter(selection, snapshot.domains))}},
                    state);
}

Answer Ports(const Selection& selection, const BridgeState& state) {
    return List("ports", state.snapshot.ports, PortsJson, selection, state);
}

Answer Streams(const Selection& selection, const BridgeState& state) {
    return List("streams", state.snapshot.streams, StreamsJson, selection, state);
}

Answer Vlans(const Selection& selection, const BridgeState& state) {
    return List("vlans", state.snapshot.vlans, VlansJson, selection, state);
}

Answer Domains(const Selection& selection, const BridgeState& state) {
    return List("domains", state.snapshot.domains, DomainsJson, selection, state);
}

Answer ClockDocument(const Selection&, const BridgeState& state) {
    return Document(Json::object({{"clock", ClockOrNull(state.snapshot)}}), state);
}

struct View {
    std::string_view path;
    Answer (*answer)(const Selection&, const BridgeState&);
    bool wantsDaemon = true;
};

constexpr View views[] = {
    {"/metrics", Metrics, false},     {"/api/v1/bridge", Bridge}, {"/api/v1/ports", Ports},
    {"/api/v1/streams", Streams},     {"/api/v1/vlans", Vlans},   {"/api/v1/domains", Domains},
    {"/api/v1/clock", ClockDocument},
};

const View* Find(std::string_view path) {
    const auto* view = std::find_if(std::begin(views), std::end(views), [&](const View& v) { return v.path == path; });
    return view == std::end(views) ? nullptr : view;
}

}  // namespace

bool IsApiPath(std::string_view path) {
    return Find(path) != nullptr;
}

Answer ApiAnswer(std::string_view path, const Selection& selection, const BridgeState& state) {
    const View* view = Find(path);
    if (!view) return {.status = 404, .body = "there is no such thing\n"};
    if (view->wantsDaemon && !state.IsAnswered()) return {.status = 503, .body = state.problem + "\n"};
    return view->answer(selection, state);
}

}  // namespace norvad::ctl
