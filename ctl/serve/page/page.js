import {domainColumns, portColumns, streamColumns, vlanColumns} from "./columns.js";
import {element, marked, timeText} from "./dom.js";
import {Plot, longestMs, numberText} from "./plot.js";
import {Table} from "./table.js";

const mostEvents = 500;
const quietMs = 3_000;      // without an answer for longer, the daemon is waited for
const reconnectMs = 5_000;  // after a refusal, of which the browser does not try again by itself
const shortestFetchMs = 1_000;

const byId = (id) => document.getElementById(id);
const ppm = (ratio) => (ratio === null ? NaN : ratio * 1e6);

const tables = {
    ports: new Table(byId("ports"), {caption: "Ports", noun: "ports", columns: portColumns}),
    streams: new Table(byId("streams"), {caption: "Streams", noun: "streams", columns: streamColumns, hasFilter: true}),
    vlans: new Table(byId("vlans"), {caption: "VLANs", noun: "VLANs", columns: vlanColumns, hasFilter: true}),
    domains: new Table(byId("domains"), {caption: "SR class domains", noun: "domains", columns: domainColumns}),
};

const plots = [
    new Plot(byId("plot-offset"), {title: "Offset from the grandmaster", unit: "ns", digits: 0,
                                   series: [{name: "offset", value: (clock) => clock.offsetNs}]}),
    new Plot(byId("plot-delay"), {title: "Link delays", unit: "ns", digits: 0,
                                  series: [0, 1].map((port) => ({name: `port ${port}`,
                                                                 value: (clock) => clock.linkDelayNs[port]}))}),
    new Plot(byId("plot-rate"), {title: "Rates of grandmaster and neighbours", unit: "ppm", digits: 3,
                                 series: [{name: "grandmaster", value: (clock) => ppm(clock.cumulativeRateRatio)},
                                          {name: "port 0", value: (clock) => ppm(clock.rateRatio[0])},
                                          {name: "port 1", value: (clock) => ppm(clock.rateRatio[1])}]}),
];

let samples = [];     // {timeMs, clock}, of the last minutes
let newest = null;    // the last state event
let arrivedMs = 0;    // when, on this browser's clock
let answered = null;  // the last one that the daemon answered to
let drawnRevision = null;
let isFetching = false;

function showStatus(text, kind) {
    const status = byId("status");
    document.title = kind === "good" ? "norvad3" : `▲ norvad3: ${text}`;
    byId("main").classList.toggle("stale", kind !== "good");
    if (status.textContent !== text) status.replaceChildren(marked(text, kind));
}

function showDaemon() {
    if (!newest) return;
    if (performance.now() - arrivedMs > quietMs) return showStatus("waiting for the daemon's answer", "unknown");
    if (newest.daemon.state === "answers") return showStatus("the daemon answers", "good");
    const since = answered ? `; shown is what it said at ${timeText(new Date(answered.timeMs))}` : "";
    showStatus(newest.daemon.problem + since, "bad");
}

function showClock(clock) {
    const hasTime = clock.state === "SLAVE" || clock.state === "MASTER";
    const values = [
        ["State", clock.state, hasTime ? "good" : "bad"],
        ["Grandmaster", clock.grandmaster, "id"],
        ["Neighbour", clock.neighbour, "id"],
        ["Steps removed", String(clock.stepsRemoved)],
        ["Offset, mean", `${numberText(clock.offsetNs, 0)} ns`],
        ["Offset, RMS", clock.rmsNs === null ? "unknown" : `${clock.rmsNs.toFixed(1)} ns`],
        ["Rate window", clock.windowMode === 0 ? "running" : "growing"],
    ];
    byId("clock-values").replaceChildren(...values.map(([name, text, kind]) =>
        element("div", {}, element("dt", {}, name), element("dd", {}, marked(text, kind)))));
}

function addSamples(more) {
    const last = samples.length > 0 ? samples[samples.length - 1].timeMs : 0;
    samples.push(...more.filter((sample) => sample.timeMs > last));
    const begin = samples.length > 0 ? samples[samples.length - 1].timeMs - longestMs : 0;
    samples = samples.filter((sample) => sample.timeMs >= begin);
    plots.forEach((plot) => plot.draw(samples));
}

// What the events do not carry is asked for when it has another revision: a whole look at once, and the next not before
// the server had some rest.
async function fetchBridge() {
    if (isFetching || !newest || newest.daemon.state !== "answers" || newest.revision === drawnRevision) return;
    isFetching = true;
    const {revision} = newest;
    const begin = performance.now();
    try {
        const response = await fetch("api/v1/bridge");
        if (response.ok) {
            const bridge = await response.json();
            for (const name of ["streams", "vlans", "domains"]) tables[name].setItems(bridge[name]);
            drawnRevision = revision;
        }
    } catch {
        // The event stream tells that the server is gone.
    }
    const pauseMs = Math.max(shortestFetchMs, 4 * (performance.now() - begin));
    setTimeout(() => {
        isFetching = false;
        fetchBridge();
    }, pauseMs);
}

function onState(state) {
    newest = state;
    arrivedMs = performance.now();
    if (state.daemon.state === "answers") {
        answered = state;
        tables.ports.setItems(state.ports);
        if (state.clock) {
            showClock(state.clock);
            addSamples([{timeMs: state.timeMs, clock: state.clock}]);
        }
    }
    showDaemon();
    fetchBridge();
}

const badKinds = new Set(["daemon-gone", "link-down", "not-as-capable", "talker-failed", "not-reserved"]);

function onChange({event}) {
    const list = byId("event-list");
    const time = new Date(event.time);
    list.prepend(element("li", {}, element("time", {datetime: event.time, title: time.toLocaleString()}, timeText(time)),
                         marked(event.text, badKinds.has(event.kind) ? "bad" : "")));
    while (list.childElementCount > mostEvents) list.lastElementChild.remove();
}

function follow() {
    const source = new EventSource("api/v1/events");
    const on = (name, act) => source.addEventListener(name, (event) => act(JSON.parse(event.data)));
    on("history", addSamples);
    on("change", onChange);
    on("state", onState);
    source.addEventListener("error", () => {
        newest = null;
        showStatus("no connection to norvadctl; trying again", "bad");
        if (source.readyState !== EventSource.CLOSED) return;
        byId("event-list").replaceChildren();
        setTimeout(follow, reconnectMs);
    });
}

setInterval(showDaemon, 1000);
follow();
