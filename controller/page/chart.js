// A line over time as SVG: gaps where nothing was measured, a cursor with a reading where the pointer is.
const kSvg = "http://www.w3.org/2000/svg";
const kMargin = { left: 62, right: 8, top: 8, bottom: 22 };

function element(name, attributes, parent) {
  const node = document.createElementNS(kSvg, name);
  for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
  parent.append(node);
  return node;
}

// A step of 1, 2 or 5 times a power of ten that gives about four lines.
function niceStep(range) {
  const power = 10 ** Math.floor(Math.log10(range / 4));
  return power * [1, 2, 5, 10].find((factor) => range / (power * factor) <= 4.5);
}

function clock(seconds) {
  return new Date(seconds * 1000).toLocaleTimeString([], { hour: "2-digit", minute: "2-digit", hour12: false });
}

export class Chart {
  constructor(host, readout, format, fromZero) {
    Object.assign(this, { host, readout, format, fromZero, data: null });
    new ResizeObserver(() => this.draw()).observe(host);
    host.addEventListener("pointermove", (event) => this.point(event.clientX - host.getBoundingClientRect().left));
    host.addEventListener("pointerleave", () => this.point(null));
  }

  // values end at the second "end", one per "step" seconds.
  show(values, step, end, span) {
    const count = Math.round(span / step);
    this.data = { values: values.slice(-count), step, end, span };
    this.draw();
  }

  scale() {
    const known = this.data.values.filter((value) => value !== null);
    let low = known.length ? Math.min(...known) : 0;
    let high = known.length ? Math.max(...known) : 1;
    if (this.fromZero) low = 0;
    if (!this.fromZero && high - low < 8) {
      low = Math.max(0, low - 4);
      high += 4;
    }
    if (high === low) high = low + 1;
    const step = niceStep(high - low);
    return { low: Math.floor(low / step) * step, high: Math.ceil(high / step) * step, step };
  }

  draw() {
    const width = this.host.clientWidth, height = this.host.clientHeight;
    if (!this.data || width < 80) return;
    const { values, step, end, span } = this.data;
    const range = this.scale();
    this.x = (i) => width - kMargin.right - ((values.length - 1 - i) * step / span) * (width - kMargin.left - kMargin.right);
    this.y = (v) => height - kMargin.bottom - ((v - range.low) / (range.high - range.low)) * (height - kMargin.top - kMargin.bottom);
    const svg = document.createElementNS(kSvg, "svg");
    svg.setAttribute("role", "img");
    svg.setAttribute("aria-label", this.summary());
    for (let v = range.low; v <= range.high + range.step / 2; v += range.step) {
      element("line", { class: "grid", x1: kMargin.left, x2: width - kMargin.right, y1: this.y(v), y2: this.y(v) }, svg);
      element("text", { x: kMargin.left - 8, y: this.y(v) + 4, "text-anchor": "end" }, svg).textContent = this.format(v);
    }
    const marks = width < 360 ? 2 : 4;
    for (let i = 0; i <= marks; ++i) {
      const x = kMargin.left + (width - kMargin.left - kMargin.right) * i / marks;
      const anchor = i === 0 ? "start" : i === marks ? "end" : "middle";
      element("text", { x, y: height - 4, "text-anchor": anchor }, svg).textContent = clock(end - span + span * i / marks);
    }
    this.drawRuns(svg, height - kMargin.bottom);
    this.cursor = element("g", {}, svg);
    this.host.replaceChildren(svg);
  }

  drawRuns(svg, base) {
    const { values } = this.data;
    for (let i = 0; i < values.length; ++i) {
      if (values[i] === null) continue;
      const first = i;
      let path = "";
      for (; i < values.length && values[i] !== null; ++i)
        path += `${path ? "L" : "M"}${this.x(i).toFixed(1)} ${this.y(values[i]).toFixed(1)}`;
      if (first === i - 1) {
        element("circle", { class: "dot", cx: this.x(first), cy: this.y(values[first]), r: 2 }, svg);
        continue;
      }
      if (this.fromZero) element("path", { class: "area", d: `${path}L${this.x(i - 1).toFixed(1)} ${base}L${this.x(first).toFixed(1)} ${base}Z` }, svg);
      element("path", { class: "series", d: path }, svg);
    }
    if (values.some((value) => value !== null)) return;
    element("text", { x: "55%", y: "48%", "text-anchor": "middle" }, svg).textContent = "no figures yet";
  }

  summary() {
    const known = this.data.values.filter((value) => value !== null);
    if (!known.length) return "No figures yet";
    return `From ${this.format(Math.min(...known))} to ${this.format(Math.max(...known))}, latest ${this.format(known.at(-1))}`;
  }

  point(position) {
    this.cursor?.replaceChildren();
    this.readout.textContent = "";
    if (position === null || !this.cursor) return;
    const { values, step, end } = this.data;
    let nearest = -1;
    values.forEach((value, i) => {
      if (value !== null && (nearest < 0 || Math.abs(this.x(i) - position) < Math.abs(this.x(nearest) - position))) nearest = i;
    });
    if (nearest < 0) return;
    const x = this.x(nearest), y = this.y(values[nearest]);
    element("line", { class: "cursor", x1: x, x2: x, y1: kMargin.top, y2: this.host.clientHeight - kMargin.bottom }, this.cursor);
    element("circle", { class: "dot", cx: x, cy: y, r: 3.5 }, this.cursor);
    this.readout.textContent = `${this.format(values[nearest])} at ${clock(end - (values.length - 1 - nearest) * step)}`;
  }
}
