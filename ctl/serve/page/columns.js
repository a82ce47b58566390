// What the tables show of the documents that /api/v1 answers with.

const none = {text: "–", kind: "faint"};

function upOrDown(up) {
    return up ? {text: "up", kind: "good"} : {text: "down", kind: "bad"};
}

// A switch whose own host neither talks nor listens has the port to it down, and nothing is wrong.
function linkCell(port) {
    return !port.up && port.port === 6 ? {text: "down", kind: "faint"} : upOrDown(port.up);
}

function yesOrNo(yes) {
    return yes ? {text: "yes", kind: "good"} : {text: "no", kind: "bad"};
}

export function portName(port) {
    return port === 6 ? "CPU" : String(port);
}

function portList(ports) {
    return ports.map((port) => `port ${portName(port)}`).join(", ");
}

function registered(records) {
    return records.filter((record) => record.state.registered);
}

// What the talker's neighbour declares; without one, what this bridge still declares to others.
function talkerOf(stream) {
    return registered(stream.talkers)[0] ?? stream.talkers[0];
}

function talkerCell(stream) {
    if (stream.talkerPort === null) return none;
    const failed = talkerOf(stream).failure !== null;
    const text = `port ${portName(stream.talkerPort)}${failed ? " failed" : ""}`;
    return {text, kind: failed ? "bad" : "good"};
}

function listenersCell(stream) {
    const listeners = registered(stream.listeners);
    if (listeners.length === 0) return none;
    const text = listeners.map((listener) => `port ${portName(listener.port)} ${listener.declaration}`).join(", ");
    return {text, kind: listeners.every((listener) => listener.declaration === "ready") ? "good" : "bad"};
}

function reservedCell(stream) {
    const listeners = registered(stream.listeners);
    if (listeners.length === 0) return none;
    const some = listeners.filter((listener) => listener.reserved !== "no");
    if (some.length === 0) return {text: "no", kind: "bad"};
    const isKnown = some.every((listener) => listener.reserved === "yes");
    const ports = some.map((listener) => `port ${portName(listener.port)}${listener.reserved === "yes" ? "" : "?"}`);
    return {text: ports.join(", "), kind: isKnown ? "good" : "unknown"};
}

// The failure that arrived with the talker, or else the first that this bridge declares.
function failureCell(stream) {
    const talker = talkerOf(stream);
    const failed = talker?.failure ? talker : stream.talkers.find((other) => other.failure && other.state.declared);
    if (!failed) return none;
    const {code, words, bridge} = failed.failure;
    const reason = code === null ? "unknown code" : `${code} ${words}`;
    return {text: `port ${portName(failed.port)}: ${reason}, bridge ${bridge}`, kind: "bad"};
}

const latencyOf = (stream) => talkerOf(stream)?.latencyNs ?? -1;

export const portColumns = [
    {title: "Port", cell: (port) => ({text: portName(port.port)}), key: (port) => port.port},
    {title: "Link", cell: linkCell},
    {title: "Spanning tree", cell: (port) => (port.up ? upOrDown(port.stp) : none)},
    {title: "AS capable", cell: (port) => (port.up ? yesOrNo(port.asCapable) : none)},
];

export const streamColumns = [
    {title: "Stream", cell: (stream) => ({text: stream.stream, kind: "id"})},
    {title: "Destination", cell: (stream) => ({text: talkerOf(stream)?.destination ?? "–", kind: "id"})},
    {
        title: "Latency",
        isNumber: true,
        cell: (stream) => (latencyOf(stream) < 0 ? none : {text: `${latencyOf(stream).toLocaleString("en")} ns`}),
        key: latencyOf,
    },
    {title: "Talker", cell: talkerCell},
    {title: "Listeners", cell: listenersCell},
    {title: "Reserved", cell: reservedCell},
    {title: "Failure", cell: failureCell},
];

const registrationColumns = [
    {
        title: "Registered",
        cell: (value) => {
            const ports = registered(value.ports).map((port) => port.port);
            return ports.length > 0 ? {text: portList(ports), kind: "good"} : none;
        },
    },
    {
        title: "Declared",
        cell: (value) => {
            const ports = value.ports.filter((port) => port.state.declared).map((port) => port.port);
            return ports.length > 0 ? {text: portList(ports)} : none;
        },
    },
];

export const vlanColumns = [
    {title: "VLAN", cell: (vlan) => ({text: String(vlan.vid)}), key: (vlan) => vlan.vid},
    ...registrationColumns,
];

export const domainColumns = [
    {title: "Class", cell: (domain) => ({text: {6: "A", 5: "B"}[domain.srClass] ?? String(domain.srClass)})},
    {title: "Priority", isNumber: true, cell: (domain) => ({text: String(domain.priority)}), key: (domain) => domain.priority},
    {title: "VLAN", isNumber: true, cell: (domain) => ({text: String(domain.vid)}), key: (domain) => domain.vid},
    ...registrationColumns,
];
