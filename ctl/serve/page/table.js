import {element, marked} from "./dom.js";

const rowsOnPage = 50;

// A table that sorts by a click on a heading, filters by words, and shows so many rows at once. A column is {title,
// cell(item): {text, kind}, key(item): what it sorts by (the text), isNumber}; the first one names the row.
export class Table {
    constructor(section, {caption, noun, columns, hasFilter}) {
        this.columns = columns;
        this.noun = noun;
        this.items = null;
        this.sorting = {column: 0, descending: false};
        this.words = [];
        this.page = 0;
        this.shown = "";
        this.body = element("tbody", {role: "rowgroup"});
        this.count = element("p", {class: "count", "aria-live": "polite"});
        this.headings = columns.map((column, index) => this.makeHeading(column, index));
        const head = element("thead", {role: "rowgroup"}, element("tr", {role: "row"}, ...this.headings));
        const tools = element("div", {class: "tools"});
        if (hasFilter) tools.append(this.makeFilter(section.id), this.count, this.makePager());
        section.append(tools, element("table", {role: "table"}, element("caption", {}, caption), head, this.body));
        this.showSorting();
    }

    setItems(items) {
        this.items = items.map((item) => this.makeRow(item));
        this.draw();
    }

    makeRow(item) {
        const cells = this.columns.map((column) => column.cell(item));
        const keys = this.columns.map((column, index) => (column.key ? column.key(item) : cells[index].text));
        return {cells, keys, words: cells.map((cell) => cell.text).join(" ").toLowerCase()};
    }

    makeHeading(column, index) {
        const button = element("button", {type: "button"}, column.title);
        button.addEventListener("click", () => {
            const again = this.sorting.column === index;
            this.sorting = {column: index, descending: again && !this.sorting.descending};
            this.page = 0;
            this.showSorting();
            this.draw();
        });
        const attributes = {scope: "col", role: "columnheader"};
        if (column.isNumber) attributes.class = "number";
        return element("th", attributes, button);
    }

    showSorting() {
        this.headings.forEach((heading, index) => {
            if (index !== this.sorting.column) return heading.removeAttribute("aria-sort");
            heading.setAttribute("aria-sort", this.sorting.descending ? "descending" : "ascending");
        });
    }

    makeFilter(id) {
        const input = element("input", {type: "search", id: `${id}-filter`, autocomplete: "off", spellcheck: "false"});
        input.addEventListener("input", () => {
            this.words = input.value.toLowerCase().split(/\s+/).filter((word) => word);
            this.page = 0;
            this.draw();
        });
        return element("label", {}, `Filter ${this.noun} `, input);
    }

    makePager() {
        const turn = (by) => () => {
            this.page += by;
            this.draw();
        };
        this.previous = element("button", {type: "button"}, "Previous");
        this.next = element("button", {type: "button"}, "Next");
        this.previous.addEventListener("click", turn(-1));
        this.next.addEventListener("click", turn(1));
        this.pager = element("span", {role: "group", "aria-label": `Pages of ${this.noun}`}, this.previous, " ", this.next);
        return this.pager;
    }

    selected() {
        const {column, descending} = this.sorting;
        const found = this.items.filter((row) => this.words.every((word) => row.words.includes(word)));
        const compare = (a, b) => (a < b ? -1 : a > b ? 1 : 0);
        found.sort((a, b) => compare(a.keys[column], b.keys[column]) * (descending ? -1 : 1));
        return found;
    }

    draw() {
        if (!this.items) return;
        const found = this.selected();
        const pages = Math.max(1, Math.ceil(found.length / rowsOnPage));
        this.page = Math.min(Math.max(this.page, 0), pages - 1);
        const begin = this.page * rowsOnPage;
        this.drawRows(found.slice(begin, begin + rowsOnPage));
        if (this.pager) this.drawCount(found.length, begin, pages);
    }

    // Rows that are as they were are left alone, so that a selection of text survives.
    drawRows(rows) {
        const shown = JSON.stringify(rows.map((row) => row.cells));
        if (shown === this.shown) return;
        this.shown = shown;
        if (rows.length > 0) return this.body.replaceChildren(...rows.map((row) => this.drawRow(row)));
        const none = element("td", {class: "empty", role: "cell", colspan: this.columns.length}, "none");
        this.body.replaceChildren(element("tr", {role: "row"}, none));
    }

    drawRow(row) {
        const cells = row.cells.map((cell, index) => {
            const column = this.columns[index];
            const content = marked(cell.text, cell.kind);
            if (index === 0) return element("th", {scope: "row", role: "rowheader", "data-label": column.title}, content);
            const attributes = {role: "cell", "data-label": column.title};
            if (column.isNumber) attributes.class = "number";
            return element("td", attributes, content);
        });
        return element("tr", {role: "row"}, ...cells);
    }

    drawCount(found, begin, pages) {
        const all = this.items.length;
        const which = pages > 1 ? `${begin + 1} to ${Math.min(begin + rowsOnPage, found)} of ` : "";
        const noun = all === 1 ? this.noun.replace(/s$/, "") : this.noun;
        const text = found === all ? `${which}${all} ${noun}` : `${which}${found} found among ${all} ${noun}`;
        if (this.count.textContent !== text) this.count.textContent = text;
        this.pager.hidden = pages === 1;
        this.previous.disabled = this.page === 0;
        this.next.disabled = this.page === pages - 1;
    }
}
