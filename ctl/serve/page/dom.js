// Small helpers to make elements. All text goes in as text: nothing that the daemon says is ever read as markup.

export function element(name, attributes = {}, ...children) {
    return fill(document.createElement(name), attributes, children);
}

export function svgElement(name, attributes = {}, ...children) {
    return fill(document.createElementNS("http://www.w3.org/2000/svg", name), attributes, children);
}

function fill(made, attributes, children) {
    for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, value);
    made.append(...children);
    return made;
}

// One of "good", "bad", "unknown", "faint", "id" or nothing, for a text.
export function marked(text, kind) {
    if (!kind) return document.createTextNode(text);
    const isMark = kind === "good" || kind === "bad" || kind === "unknown";
    return element("span", {class: isMark ? `mark ${kind}` : kind}, text);
}

export function timeText(date) {
    return date.toLocaleTimeString([], {hour12: false});
}
