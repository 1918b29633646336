// SPDX-License-Identifier: BSD-3-Clause
// pens.js -- one drawing on a canvas or as SVG text

export class CanvasPen {
  constructor(context) { this.context = context; }
  // path: [x0, y0, x1, y1 ...]
  line(path, color, width = 1, dash = []) {
    const c = this.context;
    c.beginPath();
    for (let i = 0; i < path.length; i += 2)
      if (i === 0) c.moveTo(path[0], path[1]);
      else c.lineTo(path[i], path[i + 1]);
    c.strokeStyle = color;
    c.lineWidth = width;
    c.lineJoin = "bevel"; // of lines so thin nobody tells it from round, which takes several times as long
    c.setLineDash(dash);
    c.stroke();
    c.setLineDash([]);
  }
  box(x, y, width, height, color, opacity = 1) {
    const c = this.context;
    c.globalAlpha = opacity;
    c.fillStyle = color;
    c.fillRect(x, y, width, height);
    c.globalAlpha = 1;
  }
  dot(x, y, radius, color, ring) {
    const c = this.context;
    c.beginPath();
    c.arc(x, y, radius, 0, 2 * Math.PI);
    c.fillStyle = color;
    c.fill();
    if (ring) {
      c.strokeStyle = ring;
      c.lineWidth = 2;
      c.stroke();
    }
  }
  text(words, x, y, color, { align = "center", size = 12, weight = "" } = {}) {
    const c = this.context;
    c.font = `${weight} ${size}px system-ui, sans-serif`;
    c.textAlign = align;
    c.textBaseline = "alphabetic";
    c.fillStyle = color;
    c.fillText(words, x, y);
  }
  // What a hand takes of an edge, around its middle.
  tab(x, y, width, height, color, ring) {
    this.box(x - width / 2, y - height / 2, width, height, color);
    if (!ring) return;
    this.context.strokeStyle = ring;
    this.context.lineWidth = 2;
    this.context.strokeRect(x - width / 2, y - height / 2, width, height);
  }
  width_of(words, size) {
    this.context.font = `bold ${size}px system-ui, sans-serif`;
    return this.context.measureText(words).width;
  }
  clip(x, y, width, height, draw) {
    const c = this.context;
    c.save();
    c.beginPath();
    c.rect(x, y, width, height);
    c.clip();
    draw();
    c.restore();
  }
}

const escaped = (text) => String(text).replace(/[&<>"]/g,
  (c) => ({ "&": "&amp;", "<": "&lt;", ">": "&gt;", '"': "&quot;" })[c]);
const short = (value) => String(Math.round(value * 100) / 100);

export class SvgPen {
  constructor(width, height) {
    this.width = width;
    this.height = height;
    this.parts = [];
    this.clips = 0;
  }
  line(path, color, width = 1, dash = []) {
    const words = [];
    for (let i = 0; i < path.length; i += 2) words.push(`${short(path[i])},${short(path[i + 1])}`);
    this.parts.push(`<polyline fill="none" stroke="${color}" stroke-width="${width}" stroke-linejoin="round"` +
      (dash.length ? ` stroke-dasharray="${dash.join(" ")}"` : "") + ` points="${words.join(" ")}"/>`);
  }
  box(x, y, width, height, color, opacity = 1) {
    this.parts.push(`<rect x="${short(x)}" y="${short(y)}" width="${short(Math.max(0, width))}" ` +
      `height="${short(Math.max(0, height))}" fill="${color}" fill-opacity="${opacity}"/>`);
  }
  dot() {} // handles are for hands
  tab() {}
  width_of(words, size) { return 0.62 * size * words.length; }
  text(words, x, y, color, { align = "center", size = 12, weight = "" } = {}) {
    const anchor = { center: "middle", left: "start", right: "end" }[align];
    this.parts.push(`<text x="${short(x)}" y="${short(y)}" fill="${color}" font-size="${size}" ` +
      `text-anchor="${anchor}"${weight ? ` font-weight="${weight}"` : ""}>${escaped(words)}</text>`);
  }
  clip(x, y, width, height, draw) {
    const id = `c${++this.clips}`;
    this.parts.push(`<clipPath id="${id}"><rect x="${short(x)}" y="${short(y)}" width="${short(width)}" ` +
      `height="${short(height)}"/></clipPath><g clip-path="url(#${id})">`);
    draw();
    this.parts.push("</g>");
  }
  markup(title) {
    return `<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 ${this.width} ${this.height}" ` +
      `width="${this.width}" height="${this.height}" font-family="system-ui, sans-serif" role="img">` +
      `<title>${escaped(title)}</title>\n${this.parts.join("\n")}\n</svg>\n`;
  }
}
