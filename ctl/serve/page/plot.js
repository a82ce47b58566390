import {element, svgElement, timeText} from "./dom.js";

export const longestMs = 600_000;  // ten minutes
const shortestMs = 60_000;
const gapMs = 5_000;  // a line is not drawn across a longer silence
const margin = {left: 62, right: 8, top: 8, bottom: 20};
const height = 144;

export function numberText(value, digits) {
    const rounded = value.toFixed(digits);
    return Number(rounded) === 0 ? (0).toFixed(digits) : rounded.replace("-", "−");
}

// A step of 1, 2 or 5 and zeros that divides the span into at most four.
function tickStep(span) {
    const power = 10 ** Math.floor(Math.log10(span / 4));
    return [1, 2, 5, 10].map((factor) => factor * power).find((step) => span / step <= 4);
}

// Lines over the last minutes. A series is {name, value(clock)}; what it says is also there as text.
export class Plot {
    constructor(figure, {title, unit, digits, series}) {
        Object.assign(this, {title, unit, digits, series, width: 400, samples: []});
        const id = `${figure.id}-title`;
        this.svg = svgElement("svg", {class: "plot", role: "img", "aria-labelledby": id});
        this.values = series.map(() => element("span"));
        this.summary = element("p", {class: "hint"});
        const legend = series.map((line, index) =>
            element("li", {}, this.keyOf(index), `${line.name} `, this.values[index]));
        figure.append(element("figcaption", {id}, `${title}, ${unit}`), element("ul", {class: "legend"}, ...legend), this.svg,
                      this.summary);
        new ResizeObserver(([entry]) => {
            this.width = entry.contentRect.width || this.width;
            this.draw(this.samples);
        }).observe(this.svg);
    }

    keyOf(index) {
        const line = svgElement("line", {class: `series series-${index + 1}`, x1: 0, x2: 28, y1: 5, y2: 5});
        return svgElement("svg", {viewBox: "0 0 28 10", "aria-hidden": "true"}, line);
    }

    draw(samples) {
        this.samples = samples;
        if (samples.length === 0) return;
        const end = samples[samples.length - 1].timeMs;
        const span = Math.min(Math.max(end - samples[0].timeMs, shortestMs), longestMs);
        const lines = this.series.map((line) =>
            samples.filter((sample) => sample.timeMs >= end - span)
                .map((sample) => ({timeMs: sample.timeMs, value: line.value(sample.clock)}))
                .filter((point) => Number.isFinite(point.value)));
        const values = lines.flat().map((point) => point.value);
        this.describe(lines, span);
        if (values.length === 0) return this.svg.replaceChildren();
        this.drawLines(lines, {begin: end - span, end, ...this.rangeOf(values)});
    }

    rangeOf(values) {
        let low = values.reduce((a, b) => Math.min(a, b));
        let high = values.reduce((a, b) => Math.max(a, b));
        const least = 4 * 10 ** -this.digits;  // so that noise below the last digit stays a line
        if (high - low < least) [low, high] = [(low + high - least) / 2, (low + high + least) / 2];
        const step = tickStep(high - low);
        return {low: Math.floor(low / step) * step, high: Math.ceil(high / step) * step, step};
    }

    drawLines(lines, {begin, end, low, high, step}) {
        const right = this.width - margin.right;
        const bottom = height - margin.bottom;
        const x = (timeMs) => margin.left + (timeMs - begin) / (end - begin) * (right - margin.left);
        const y = (value) => bottom - (value - low) / (high - low) * (bottom - margin.top);
        const tickDigits = Math.max(0, -Math.floor(Math.log10(step) + 1e-9));
        const parts = [];
        for (let tick = low; tick <= high + step / 2; tick += step) {
            parts.push(svgElement("line", {class: "grid", x1: margin.left, x2: right, y1: y(tick), y2: y(tick)}));
            parts.push(svgElement("text", {x: margin.left - 6, y: y(tick) + 4, "text-anchor": "end"}, numberText(tick, tickDigits)));
        }
        parts.push(svgElement("text", {x: margin.left, y: height - 4}, timeText(new Date(begin))));
        parts.push(svgElement("text", {x: right, y: height - 4, "text-anchor": "end"}, timeText(new Date(end))));
        lines.forEach((line, index) => {
            const path = line.map((point, at) => {
                const goesOn = at > 0 && point.timeMs - line[at - 1].timeMs <= gapMs;
                return `${goesOn ? "L" : "M"}${x(point.timeMs).toFixed(1)} ${y(point.value).toFixed(1)}`;
            });
            parts.push(svgElement("path", {class: `series series-${index + 1}`, d: path.join("")}));
        });
        this.svg.setAttribute("viewBox", `0 0 ${this.width} ${height}`);
        this.svg.replaceChildren(...parts);
    }

    text(value) {
        return numberText(value, this.digits);
    }

    // The same in words, for who does not see the lines.
    describe(lines, span) {
        const minutes = Math.round(span / 60_000);
        const ranges = lines.map((line, index) => {
            this.values[index].textContent = line.length > 0 ? this.text(line[line.length - 1].value) : "unknown";
            if (line.length === 0) return `${this.series[index].name} unknown`;
            const values = line.map((point) => point.value);
            const low = this.text(values.reduce((a, b) => Math.min(a, b)));
            const high = this.text(values.reduce((a, b) => Math.max(a, b)));
            return `${this.series[index].name} ${low} to ${high}`;
        });
        this.summary.textContent = `Last ${minutes === 1 ? "minute" : `${minutes} minutes`}: ${ranges.join("; ")} ${this.unit}`;
    }
}
