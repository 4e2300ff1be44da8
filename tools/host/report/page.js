"use strict";
// Turns the plain list into a folding tree. A branch is filled when it is opened first, so that a page of many
// thousand items opens at once.
(() => {
  const data = JSON.parse(document.getElementById("data").textContent);
  const byId = (id) => document.getElementById(id);
  const tree = byId("tree");
  const MOST_OPENED = 300;  // items of a search that are shown without a click

  // Characters that steer the direction or the layout of text are shown by their number.
  const shown = (text) => String(text).replace(
    /[\u0000-\u001f\u007f-\u009f\u00ad\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g,
    (unit) => "\u27e8U+" + unit.charCodeAt(0).toString(16).toUpperCase().padStart(4, "0") + "\u27e9");

  const element = (tag, className, text) => {
    const made = document.createElement(tag);
    if (className) {
      made.className = className;
    }
    if (text !== undefined) {
      made.textContent = shown(text);
    }
    return made;
  };

  const sizeText = (bytes) => {
    if (bytes < 1024) {
      return bytes + " bytes";
    }
    const units = ["KB", "MB", "GB", "TB"];
    let unit = -1;
    do {
      bytes /= 1024;
      ++unit;
    } while (bytes >= 1024 && unit + 1 < units.length);
    return bytes.toFixed(1) + " " + units[unit];
  };

  const plural = (count) => count + (count === 1 ? " item" : " items");
  const stateOf = (item) => item.outcome || item.state;

  const findingsOf = new Map();
  for (const finding of data.findings) {
    if (finding.item !== undefined && finding.item !== null) {
      findingsOf.set(finding.item, [...(findingsOf.get(finding.item) || []), finding]);
    }
  }

  // A node: {item, children}, or {label, children} for products and records. Within a record an item lies under the
  // item of the folder or key above it.
  const upperPath = (path) => path.slice(0, Math.max(path.lastIndexOf("\\"), 0)).toLowerCase();
  const placeKey = (item, path) => (item.view || "") + "|" + path;

  const attach = (node, item, containers) => {
    const own = item.path.toLowerCase();
    const parent = item.kind === "value" ? containers.get(placeKey(item, own))
                                         : containers.get(placeKey(item, upperPath(item.path)));
    const made = {item, index: item.index, children: []};
    (parent || node).children.push(made);
    if (item.kind === "folder" || item.kind === "key") {
      containers.set(placeKey(item, own), made);
    }
  };

  // With all records, those without an item as well, or with those of the items alone.
  const buildTree = (items, withAllRecords) => {
    const products = new Map();
    const records = new Map();
    const recordNode = (index) => {
      if (!records.has(index)) {
        const record = data.records[index];
        if (!products.has(record.product)) {
          const product = data.products[record.product] || {name: "?"};
          products.set(record.product, {label: product.name, heading: true, children: []});
        }
        const node = {label: record.text || record.operation, record, children: [], containers: new Map()};
        records.set(index, node);
        products.get(record.product).children.push(node);
      }
      return records.get(index);
    };
    if (withAllRecords) {
      data.records.forEach((record, index) => recordNode(index));
    }
    for (const item of items) {
      const node = recordNode(item.record);
      attach(node, item, node.containers);
    }
    return [...products.values()];
  };

  const total = (node) => {
    if (node.total === undefined) {
      node.total = node.item ? 1 : 0;
      node.bytes = node.item && node.item.size || 0;
      for (const child of node.children) {
        node.total += total(child);
        node.bytes += child.bytes;
      }
    }
    return node.total;
  };

  const nameOf = (item, inside) => {
    if (item.kind === "value") {
      return inside ? item.name || "(default)" : item.path + " : " + (item.name || "(default)");
    }
    if (item.name) {  // a tool's parameters, a library's method
      return item.path + " " + item.name;
    }
    return inside ? item.path.slice(item.path.lastIndexOf("\\") + 1) : item.path;
  };

  const describeItem = (node, inside) => {
    const item = node.item;
    const line = document.createDocumentFragment();
    const name = element("bdi", "name", nameOf(item, inside));
    name.title = shown(item.path);
    const kind = item.kind.replaceAll("_", " ") + (item.view ? " (" + item.view + "-bit view)" : "");
    line.append(element("span", "kind", kind), " ", name, " ", element("span", "state " + stateOf(item), stateOf(item)));
    if (item.size !== undefined && node.children.length === 0) {
      line.append(" ", element("span", "size", sizeText(item.size)));
    }
    for (const holder of item.holders || []) {
      line.append(" ", element("span", "mark warn", "open in " + holder.name + " (" + holder.process + ")"));
    }
    for (const finding of findingsOf.get(node.index) || []) {
      const mark = element("span", "mark " + finding.severity, finding.code);
      mark.title = shown(finding.evidence);
      line.append(" ", mark);
    }
    if (item.reason) {
      line.append(" ", element("span", "kind", item.reason));
    }
    return line;
  };

  const describe = (node, inside) => {
    if (node.item) {
      return describeItem(node, inside);
    }
    const line = document.createDocumentFragment();
    const label = element("bdi", "name", node.label);
    if (node.heading) {
      const heading = element("strong");
      heading.append(label);
      line.append(heading);
    } else {
      const record = node.record;
      line.append(element("span", "kind", record.operation), " ", label);
      if (record.state && record.state !== "runs") {
        line.append(" ", element("span", "state", record.state));
      }
      if (record.reason) {
        line.append(" ", element("span", "kind", record.reason));
      }
    }
    return line;
  };

  const countText = (node) => plural(total(node)) + (node.bytes > 0 ? ", " + sizeText(node.bytes) : "");

  const makeBranch = (node, inside) => {
    const details = element("details");
    const summary = element("summary");
    summary.append(describe(node, inside), " ", element("span", "count", countText(node)));
    details.append(summary);
    details.fill = () => {
      if (details.filled) {
        return;
      }
      details.filled = true;
      const list = element("ul");
      for (const child of node.children) {
        const row = element("li", child.children.length > 0 ? "branch" : "");
        row.append(child.children.length > 0 ? makeBranch(child, Boolean(node.item))
                                             : describe(child, Boolean(node.item)));
        if (child.item) {
          row.dataset.item = child.index;
        }
        list.append(row);
      }
      details.append(list);
    };
    details.addEventListener("toggle", () => details.open && details.fill());
    return details;
  };

  const openAll = () => {
    const waiting = [...tree.children];
    while (waiting.length > 0) {
      const branch = waiting.pop();
      branch.fill();
      branch.open = true;
      waiting.push(...branch.querySelectorAll(":scope > ul > li > details"));
    }
  };

  const matches = (item) => {
    const text = byId("text").value.trim().toLowerCase();
    const code = byId("finding").value;
    const state = byId("state").value;
    const findings = findingsOf.get(item.index) || [];
    return (text === "" || (item.path + " " + (item.name || "")).toLowerCase().includes(text)) &&
           (code === "" || (code === "any" ? findings.length > 0 : findings.some((each) => each.code === code))) &&
           (state === "" || stateOf(item) === state);
  };

  const render = () => {
    const found = data.items.filter(matches);
    tree.replaceChildren(...buildTree(found, found.length === data.items.length).map((node) => makeBranch(node, false)));
    byId("count").textContent = found.length === data.items.length
      ? plural(found.length) : found.length + " of " + plural(data.items.length);
    if (found.length <= MOST_OPENED) {
      openAll();
    } else {
      for (const branch of tree.children) {
        branch.fill();
        branch.open = true;
      }
    }
  };

  const addChoices = (select, values) => {
    for (const value of [...new Set(values)].sort()) {
      select.append(new Option(value.replaceAll("_", " "), value));
    }
  };

  data.items.forEach((item, index) => { item.index = index; });
  if (findingsOf.size > 0) {
    byId("finding").append(new Option("any finding", "any"));
  }
  addChoices(byId("finding"), [...findingsOf.values()].flat().map((finding) => finding.code));
  addChoices(byId("state"), data.items.map(stateOf));

  let pause = 0;
  byId("search").addEventListener("submit", (event) => event.preventDefault());
  byId("search").addEventListener("input", () => {
    clearTimeout(pause);
    pause = setTimeout(render, 150);
  });
  byId("open").addEventListener("click", openAll);
  byId("close").addEventListener("click", () => {
    for (const branch of tree.querySelectorAll("details")) {
      branch.open = false;
    }
  });
  addEventListener("beforeprint", openAll);
  addEventListener("hashchange", () => location.hash === "#all" && openAll());

  render();
  byId("plain").remove();
  byId("search").hidden = false;
  tree.hidden = false;
  if (location.hash === "#all") {
    openAll();
  }
})();
