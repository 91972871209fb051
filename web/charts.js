// The two plots, over the same range: the function, and the largest error in each of some columns.

import uPlot from './lib/uPlot.js';

const columns = 240, samples = 800, height = 230;
const colour = (name) => () => getComputedStyle(document.documentElement).getPropertyValue(`--${name}`);

/** A range of x: even steps, or even steps of the logarithm where it spans powers of ten. */
export class Axis {
  constructor(x) {
    this.whole = [x[0], x.at(-1)];
    this.logarithmic = x[0] > 0 && x.at(-1) > 100 * x[0];
    this.range = [...this.whole];
  }
  // (The steps of a logarithmic axis are this engine's own; they only choose what is shown.)
  forth = (x) => (this.logarithmic ? Math.log(x) : x);
  back = (s) => (this.logarithmic ? Math.exp(s) : s);
  at(share) {
    const [low, high] = this.range.map(this.forth);
    return this.back(low + (high - low) * share);
  }
  /** The range between two shares of the present one; within the whole one, and not too small to step in. */
  select(from, to) {
    const [low, high] = this.whole.map(this.forth);
    let [a, b] = [from, to].map((share) => this.forth(this.at(share)));
    if (b - a > high - low) [a, b] = [low, high];
    const shift = Math.max(low - a, 0) + Math.min(high - b, 0);
    [a, b] = [a + shift, b + shift];
    if (b - a < 1e-9 * (high - low)) return;
    this.range = [a <= low ? this.whole[0] : this.back(a), b >= high ? this.whole[1] : this.back(b)];
  }
  samples() {
    return Float64Array.from({ length: samples }, (_, i) => this.at(i / (samples - 1)));
  }
}

/** The largest of each column; of a few points, each. */
function largest(axis, x, list) {
  const [low, high] = axis.range;
  const from = x.findIndex((value) => value >= low), end = x.findLastIndex((value) => value <= high) + 1;
  if (from < 0 || end - from <= 2 * columns)
    return [x.slice(Math.max(from, 0), end), ...list.map((errors) => errors.slice(Math.max(from, 0), end))];
  const a = axis.forth(low), width = (axis.forth(high) - a) / columns;
  return [
    Float64Array.from({ length: columns }, (_, i) => axis.back(a + (i + 0.5) * width)),
    ...list.map((errors) => {
      const most = new Float64Array(columns);
      for (let i = from; i < end; ++i) {
        const column = Math.min(columns - 1, Math.floor((axis.forth(x[i]) - a) / width));
        most[column] = Math.max(most[column], errors[i]);
      }
      return most;
    }),
  ];
}

/** Where most values lie: a pole must not flatten the rest. */
function middle(series) {
  const sorted = Float64Array.from(series.flatMap((values) => [...values]).filter(Number.isFinite)).sort();
  if (sorted.length === 0) return [-1, 1];
  const at = (share) => sorted[Math.round(share * (sorted.length - 1))];
  const span = at(0.97) - at(0.03) || Math.abs(at(0.5)) || 1;
  const low = Math.max(at(0), at(0.03) - 0.7 * span), high = Math.min(at(1), at(0.97) + 0.7 * span);
  const margin = 0.05 * (high - low) || 1;
  return [low - margin, high + margin];
}

export class Charts {
  constructor(graph, errors, onSelect) {
    this.places = { graph, errors };
    this.plots = {};
    this.onSelect = onSelect;
    new ResizeObserver(() => {
      for (const [name, plot] of Object.entries(this.plots))
        plot.setSize({ width: this.places[name].clientWidth, height });
    }).observe(graph);
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change', () => {
      for (const plot of Object.values(this.plots)) plot.redraw(false);
    });
  }

  draw(name, axis, data, series, y) {
    const place = this.places[name];
    this.plots[name]?.destroy();
    const axisStyle = { stroke: colour('quiet'), grid: { stroke: colour('grid'), width: 1 }, ticks: { show: false },
      font: '12px system-ui, sans-serif' };
    this.plots[name] = new uPlot({
      width: place.clientWidth,
      height,
      legend: { show: false },
      scales: { x: { time: false, distr: axis.logarithmic ? 3 : 1, range: () => axis.range }, y: { range: () => y } },
      axes: [{ ...axisStyle, size: 34, values: (u, ticks) => ticks.map((t) => (t === null ? '' : String(+t.toPrecision(12)))) },
        { ...axisStyle, size: 64 }],
      series: [{}, ...series],
      cursor: {
        drag: { x: true, y: false, setScale: false },
        points: { show: false },
        bind: { dblclick: () => () => this.onSelect(null) },
      },
      hooks: {
        setSelect: [(u) => {
          const { left, width } = u.select;
          if (width > 2) this.onSelect([left / u.bbox.width, (left + width) / u.bbox.width].map((s) => s * devicePixelRatio));
        }],
      },
    }, data.map((array) => Array.from(array, (value) => (Number.isFinite(value) ? value : null))), place);
  }

  /** The function: an array for each result. */
  graph(axis, x, results) {
    const y = middle(results);
    const gaps = results.map((values) => values.map((value, i) =>
      i > 0 && Math.abs(value - values[i - 1]) > y[1] - y[0] ? NaN : value));
    const strokes = ['ours', 'engine'];
    this.draw('graph', axis, [x, ...gaps], gaps.map((_, i) => ({ stroke: colour(strokes[i]), width: 2 })), y);
  }

  /** Errors of the export, of the engine's function or null, and the export's bound. */
  errors(axis, x, ours, engine, bound) {
    const [places, ...curves] = largest(axis, x, engine ? [engine, ours] : [ours]);
    const few = places.length < x.length && places.length !== columns;
    const style = (name, width) => few
      ? { stroke: colour(name), paths: () => null, points: { show: true, size: 4, fill: colour(name) } }
      : { stroke: colour(name), width };
    const constant = (value, dash, name) =>
      [places.map(() => value), { stroke: colour(name), width: 1, dash, points: { show: false } }];
    const [boundData, boundSeries] = constant(bound, [6, 4], 'ours'), [halfData, halfSeries] = constant(0.5, [2, 3], 'quiet');
    const top = Math.max(bound, ...curves.map((curve) => curve.reduce((a, b) => (b < Infinity ? Math.max(a, b) : a), 0)));
    this.draw('errors', axis, [places, ...curves, boundData, halfData],
      [...(engine ? [style('engine', 1.4)] : []), style('ours', 1.4), boundSeries, halfSeries], [0, 1.1 * top]);
  }
}
