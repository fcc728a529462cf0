// The page of `quorva serve`: draws the net once, then after every change only moves the belief
// bars.  Talks to the server through its JSON interface (/api/...).
"use strict";

// Box geometry, in step with the layout made by the server (ServeLayout.cpp).
const BOX_WIDTH = 200, DECISION_WIDTH = 250, TITLE_HEIGHT = 22, STATE_HEIGHT = 17;
const UTILITY_WIDTH = 150, UTILITY_HEIGHT = 70, MARGIN = 20;
const LABEL_WIDTH = 76, BAR_X = 124, BAR_WIDTH = 70;
const SVG = "http://www.w3.org/2000/svg";

const view = { net: null, nodes: new Map(), links: [], findings: {}, selected: null, offset: [0, 0] };

function element(tag, attributes, parent) {
  const e = document.createElementNS(SVG, tag);
  for (const [k, v] of Object.entries(attributes || {})) e.setAttribute(k, v);
  if (parent) parent.appendChild(e);
  return e;
}

function boxSize(node) {
  if (node.kind === "utility") return [UTILITY_WIDTH, UTILITY_HEIGHT];
  const width = node.kind === "decision" ? DECISION_WIDTH : BOX_WIDTH;
  return [width, TITLE_HEIGHT + STATE_HEIGHT * Math.max(1, node.states.length) + 6];
}

function clipped(text, room) {
  const most = Math.floor(room / 6.5);
  return text.length > most ? text.slice(0, Math.max(1, most - 1)) + "…" : text;
}

function showMessage(text) {
  const box = document.getElementById("message");
  box.textContent = text || "";
  box.hidden = !text;
}

async function call(method, path, body) {
  const options = { method, headers: {} };
  if (body !== undefined) {
    options.body = JSON.stringify(body);
    options.headers["Content-Type"] = "application/json";
  }
  const response = await fetch(path, options);
  const answer = await response.json();
  if (!response.ok) {
    const error = answer.error || {};
    throw new Error((error.number ? "Error " + error.number + ": " : "") + (error.message || response.statusText));
  }
  return answer;
}

// Where a link meets the border of its child's box, coming from `from`.
function borderPoint(item, from) {
  const [cx, cy] = item.center, [w, h] = item.size;
  const dx = from[0] - cx, dy = from[1] - cy;
  if (dx === 0 && dy === 0) return [cx, cy];
  const t = item.node.kind === "utility" ? 1 / (Math.abs(dx) / (w / 2) + Math.abs(dy) / (h / 2))
                                         : Math.min(w / 2 / Math.abs(dx || 1e-9), h / 2 / Math.abs(dy || 1e-9));
  return [cx + dx * Math.min(t, 1), cy + dy * Math.min(t, 1)];
}

function placeLink(link) {
  const from = view.nodes.get(link.from), to = view.nodes.get(link.to);
  const start = borderPoint(from, to.center), end = borderPoint(to, from.center);
  link.line.setAttribute("x1", start[0]);
  link.line.setAttribute("y1", start[1]);
  link.line.setAttribute("x2", end[0]);
  link.line.setAttribute("y2", end[1]);
}

function placeNode(item) {
  const [w, h] = item.size;
  item.group.setAttribute("transform", `translate(${item.center[0] - w / 2},${item.center[1] - h / 2})`);
}

function drawStates(item, group) {
  const node = item.node, width = item.size[0];
  item.rows = node.states.map((state, s) => {
    const y = TITLE_HEIGHT + s * STATE_HEIGHT;
    const row = element("g", { class: "state", "data-node": node.name, "data-state": state }, group);
    element("rect", { x: 1, y, width: width - 2, height: STATE_HEIGHT, fill: "transparent" }, row);
    const label = element("text", { class: "label", x: 6, y: y + 12 }, row);
    label.textContent = clipped(node.state_titles[s], LABEL_WIDTH);
    const percent = element("text", { class: "pct", x: BAR_X - 4, y: y + 12, "text-anchor": "end" }, row);
    element("rect", { class: "track", x: BAR_X, y: y + 3, width: BAR_WIDTH, height: 11 }, row);
    const bar = element("rect", { class: "bar", x: BAR_X, y: y + 3, width: 0, height: 11 }, row);
    let utility = null;
    if (node.kind === "decision") utility = element("text", { class: "utility-value", x: width - 6, y: y + 12, "text-anchor": "end" }, row);
    row.addEventListener("click", () => toggleFinding(node.name, state));
    return { row, percent, bar, utility };
  });
}

function drawNode(node) {
  const size = boxSize(node);
  const center = [node.position[0] + view.offset[0], node.position[1] + view.offset[1]];
  const group = element("g", { class: "node " + node.kind, "data-node": node.name });
  const item = { node, size, center, group, rows: [] };
  if (node.kind === "utility") {
    const [w, h] = size;
    element("polygon", { class: "frame", points: `${w / 2},0 ${w},${h / 2} ${w / 2},${h} 0,${h / 2}` }, group);
    item.valueText = element("text", { class: "utility-value", x: w / 2, y: h / 2 + 16, "text-anchor": "middle" }, group);
  } else {
    element("rect", { class: "frame", width: size[0], height: size[1], rx: node.kind === "decision" ? 0 : 4 }, group);
    drawStates(item, group);
  }
  const title = element("text", { class: "title", x: node.kind === "utility" ? size[0] / 2 : 6, y: node.kind === "utility" ? size[1] / 2 + 2 : 15,
                                  "text-anchor": node.kind === "utility" ? "middle" : "start" }, group);
  title.textContent = clipped(node.title, size[0] - 12);
  title.addEventListener("mousedown", (event) => startDrag(event, item));
  placeNode(item);
  return item;
}

function drawNet(net) {
  const svg = document.getElementById("graph");
  svg.textContent = "";
  const defs = element("defs", {}, svg);
  const marker = element("marker", { id: "arrow", viewBox: "0 0 10 10", refX: 10, refY: 5, markerWidth: 8, markerHeight: 8, orient: "auto" }, defs);
  element("path", { d: "M0,0 L10,5 L0,10 z", fill: "#59627a" }, marker);
  let left = Infinity, top = Infinity, right = 0, bottom = 0;
  for (const node of net.nodes) {
    const [w, h] = boxSize(node);
    left = Math.min(left, node.position[0] - w / 2);
    top = Math.min(top, node.position[1] - h / 2);
  }
  view.offset = [MARGIN - Math.min(left, MARGIN), MARGIN - Math.min(top, MARGIN)];
  const linkLayer = element("g", {}, svg), nodeLayer = element("g", {}, svg);
  for (const node of net.nodes) view.nodes.set(node.name, drawNode(node));
  for (const node of net.nodes) {
    for (const parent of node.parents) {
      const line = element("line", { class: "link", "marker-end": "url(#arrow)" }, linkLayer);
      const link = { from: parent, to: node.name, line };
      view.links.push(link);
      placeLink(link);
    }
  }
  for (const item of view.nodes.values()) {
    nodeLayer.appendChild(item.group);
    right = Math.max(right, item.center[0] + item.size[0] / 2);
    bottom = Math.max(bottom, item.center[1] + item.size[1] / 2);
  }
  svg.setAttribute("width", right + MARGIN);
  svg.setAttribute("height", bottom + MARGIN);
}

function percentText(p) { return (100 * p).toFixed(2) + "%"; }

function numberText(x) { return x === null ? "impossible" : Number(x.toPrecision(6)).toString(); }

// Only the bars, percentages and utilities change.
function showBeliefs(answer) {
  view.findings = answer.findings;
  const probability = answer.findings_probability;
  document.getElementById("findings-probability").textContent = probability === null ? "–" : Number(probability.toPrecision(6)).toString();
  const utilityLine = document.getElementById("utility-line");
  utilityLine.hidden = answer.expected_utility === null;
  if (answer.expected_utility !== null) document.getElementById("expected-utility").textContent = numberText(answer.expected_utility);
  for (const [name, beliefs] of Object.entries(answer.beliefs)) {
    const item = view.nodes.get(name);
    if (!item) continue;
    const found = answer.findings[name];
    const utilities = answer.expected_utilities[name];
    item.rows.forEach((r, s) => {
      const p = beliefs[s];
      r.percent.textContent = percentText(p);
      r.bar.setAttribute("width", (BAR_WIDTH * p).toFixed(2));
      r.row.dataset.belief = p;
      r.row.classList.toggle("found", found === item.node.states[s]);
      if (r.utility && utilities) r.utility.textContent = "EU " + numberText(utilities[s]);
    });
  }
  document.body.dataset.updates = Number(document.body.dataset.updates || 0) + 1;
}

async function act(method, path, body) {
  try {
    showBeliefs(await call(method, path, body));
    showMessage("");
  } catch (error) {
    showMessage(error.message);
  }
}

function toggleFinding(node, state) {
  act("POST", "/api/findings", { [node]: view.findings[node] === state ? null : state });
}

function tableHtml(node) {
  const table = node.table;
  if (!table) return "<p>This node has no table.</p>";
  const columns = table.kind === "probabilities" ? node.state_titles : [node.kind === "utility" ? "utility" : "state"];
  const escape = (t) => String(t).replace(/[&<>"]/g, (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" })[c]);
  let html = "<table><tr>" + node.parents.map((p) => `<th>${escape(p)}</th>`).join("") +
             columns.map((c) => `<th>${escape(c)}</th>`).join("") + "</tr>";
  for (const row of table.rows) {
    html += "<tr>" + row.given.map((g) => `<td>${escape(g)}</td>`).join("") +
            row.values.map((v) => `<td>${v === null ? "?" : escape(typeof v === "number" ? Number(v.toPrecision(6)) : v)}</td>`).join("") + "</tr>";
  }
  html += "</table>";
  if (table.rows_total) html += `<p>The first ${table.rows.length} of ${table.rows_total} rows.</p>`;
  return html;
}

function select(item) {
  if (view.selected) view.selected.group.classList.remove("selected");
  view.selected = item;
  item.group.classList.add("selected");
  const node = item.node;
  document.getElementById("panel-title").textContent = node.title === node.name ? node.name : `${node.title} (${node.name})`;
  document.getElementById("panel-kind").textContent = node.kind + " node" + (node.parents.length ? ", parents: " + node.parents.join(", ") : "");
  document.getElementById("panel-comment-box").hidden = !node.comment;
  document.getElementById("panel-comment").textContent = node.comment;
  document.getElementById("panel-equation-box").hidden = !node.equation;
  document.getElementById("panel-equation").textContent = node.equation || "";
  document.getElementById("panel-table-box").hidden = false;
  document.getElementById("panel-table-head").textContent = node.table && node.table.kind === "function" ? "Function table" : "Table";
  document.getElementById("panel-table").innerHTML = tableHtml(node);
}

function startDrag(event, item) {
  event.preventDefault();
  const start = [event.clientX, event.clientY], from = item.center.slice();
  let moved = false;
  const touching = view.links.filter((l) => l.from === item.node.name || l.to === item.node.name);
  const move = (e) => {
    const dx = e.clientX - start[0], dy = e.clientY - start[1];
    moved = moved || Math.abs(dx) + Math.abs(dy) > 3;
    if (!moved) return;
    item.center = [from[0] + dx, from[1] + dy];
    placeNode(item);
    touching.forEach(placeLink);
  };
  const up = () => {
    window.removeEventListener("mousemove", move);
    window.removeEventListener("mouseup", up);
    if (!moved) return select(item);
    const position = [item.center[0] - view.offset[0], item.center[1] - view.offset[1]];
    call("POST", "/api/positions", { [item.node.name]: position }).then(() => showMessage(""), (error) => showMessage(error.message));
  };
  window.addEventListener("mousemove", move);
  window.addEventListener("mouseup", up);
}

async function start() {
  try {
    view.net = await call("GET", "/api/net");
    document.title = view.net.name + " – quorva serve";
    document.getElementById("net-title").textContent = view.net.title === view.net.name ? view.net.name : `${view.net.name}: ${view.net.title}`;
    drawNet(view.net);
    showBeliefs(await call("GET", "/api/beliefs"));
  } catch (error) {
    showMessage(error.message);
  }
  document.getElementById("retract-all").addEventListener("click", () => act("DELETE", "/api/findings"));
}

start();
