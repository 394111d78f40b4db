// The group monitor page: telegrams from /api/events (the monitor's JSON
// objects, decoded by the server), kept in memory up to a bound, shown as
// a live table, a table of the latest value per group address and a plot
// of the numeric values of the picked group addresses.
'use strict';

const MAX_ROWS = 1000;        // telegrams kept and shown
const MAX_POINTS = 2000;      // points per plotted group address
const RENDER_EVERY_MS = 250;  // a busy bus redraws at most this often

const state = {
  rows: [],          // telegrams, oldest first
  shown: [],         // the rows in the table, newest first
  latest: new Map(), // group address -> {row, changed, name, dpt}
  picked: new Set(), // group addresses on the plot
  paused: false,
  pausedSeq: 0,      // the last telegram in the table when paused
  missed: 0,         // telegrams that came while paused
  dirty: false,
  chart: null,
};

const $ = (id) => document.getElementById(id);
const COLOURS = ['#0969da', '#cf222e', '#1a7f37', '#8250df', '#bc4c00', '#1b7c83'];

// "1/2/3" as a number, for sorting.
function addressKey(address) {
  return address.split('/').reduce((sum, part) => sum * 4096 + Number(part), 0);
}

function timeText(row) {
  return row.time.replace('T', ' ');
}

const pad = (n, width = 2) => String(n).padStart(width, '0');

function clockTime(date) {
  return `${pad(date.getHours())}:${pad(date.getMinutes())}:${pad(date.getSeconds())}`;
}

function localTime(date) {
  return `${date.getFullYear()}-${pad(date.getMonth() + 1)}-${pad(date.getDate())}T` +
      `${clockTime(date)}.${pad(date.getMilliseconds(), 3)}`;
}

// The value with its unit; the raw octets where there is no value.
function valueCell(row) {
  if (row.apci === 'read') return {text: '', kind: 'value'};
  if (row.value !== null && row.value !== undefined) {
    const value = typeof row.value === 'object' ? JSON.stringify(row.value) : String(row.value);
    return {text: row.unit ? `${value} ${row.unit}` : value, kind: 'value'};
  }
  if (row.error) return {text: `error: ${row.error}`, kind: 'error'};
  return {text: (row.hex || '').replace(/(..)(?!$)/g, '$1 '), kind: 'raw'};
}

// The cells of a table row, in the table's (and the CSV's) column order.
function cells(row) {
  return [timeText(row), row.src || '', row.dst, row.name || '', row.dpt || '',
    valueCell(row).text, row.apci];
}

function matches(row, field, text) {
  if (!text) return true;
  const lower = text.toLowerCase();
  const address = () => row.dst === text || row.dst.startsWith(text.endsWith('/') ? text : `${text}/`);
  const contains = (value) => (value || '').toLowerCase().includes(lower);
  switch (field) {
    case 'dst': return address();
    case 'name': return contains(row.name);
    case 'dpt': return contains(row.dpt);
    case 'src': return contains(row.src);
    default: return address() || contains(row.name) || contains(row.dpt) || contains(row.src);
  }
}

function renderTable() {
  const field = $('filter-field').value;
  const text = $('filter').value.trim();
  // Paused, the table holds the telegrams up to the pause; the filter still works.
  state.shown = state.rows.filter((row) => (!state.paused || row.seq <= state.pausedSeq) &&
      matches(row, field, text)).reverse();
  const body = document.createElement('tbody');
  for (const row of state.shown) {
    const tr = body.insertRow();
    tr.className = row.apci;
    const value = valueCell(row).kind;
    cells(row).forEach((cell, i) => {
      const td = tr.insertCell();
      td.textContent = cell;
      if (i === 5) td.className = value;
      if (i === 6) td.className = 'service';
    });
  }
  $('telegrams').replaceChild(body, $('telegrams').tBodies[0]);
  $('count').textContent = `${state.shown.length} of ${state.rows.length} telegrams` +
      (state.paused ? ` · paused (${state.missed} new)` : '');
}

// Rows are made once per group address and updated in place, so that a
// tick on the plot box is never lost to a redraw.
function latestRow(address, entry) {
  if (entry.tr) return entry.tr;
  const body = $('latest').tBodies[0];
  const tr = document.createElement('tr');
  tr.dataset.address = address;
  const pick = document.createElement('input');
  pick.type = 'checkbox';
  pick.title = `plot ${address}`;
  pick.addEventListener('change', () => togglePlot(address, pick.checked));
  tr.insertCell().appendChild(pick);
  for (let i = 0; i < 5; i++) tr.insertCell();
  tr.cells[1].textContent = address;
  const next = [...body.rows].find((row) => addressKey(row.dataset.address) > addressKey(address));
  body.insertBefore(tr, next || null);
  entry.tr = tr;
  return tr;
}

function renderLatest() {
  for (const [address, entry] of state.latest) {
    const tr = latestRow(address, entry);
    const texts = [entry.name || '', entry.dpt || '', entry.row ? valueCell(entry.row).text : '',
      entry.changed ? entry.changed.slice(11, 19) : ''];  // the time of day; the date on hover
    texts.forEach((text, i) => {
      if (tr.cells[i + 2].textContent !== text) tr.cells[i + 2].textContent = text;
    });
    tr.cells[5].title = entry.changed ? timeText({time: entry.changed}) : '';
  }
}

function render() {
  if (!state.dirty) return;
  state.dirty = false;
  if (!state.paused) renderTable();
  else $('count').textContent = `${state.shown.length} shown · paused (${state.missed} new)`;
  renderLatest();
  if (state.chart) state.chart.update('none');
}

// --- plot ---------------------------------------------------------------

function axisId(unit) {
  return `y-${unit || 'none'}`;
}

function ensureChart() {
  if (state.chart || typeof Chart === 'undefined') return state.chart;
  state.chart = new Chart($('plot'), {
    type: 'line',
    data: {datasets: []},
    options: {
      animation: false,
      maintainAspectRatio: false,
      parsing: false,
      normalized: true,
      scales: {
        x: {
          type: 'linear',
          ticks: {callback: (value) => clockTime(new Date(value)), maxRotation: 0},
        },
      },
      plugins: {legend: {position: 'bottom'}},
    },
  });
  return state.chart;
}

function togglePlot(address, on) {
  const chart = ensureChart();
  if (!chart) return;
  if (!on) {
    state.picked.delete(address);
    chart.data.datasets = chart.data.datasets.filter((set) => set.address !== address);
  } else {
    state.picked.add(address);
    const entry = state.latest.get(address);
    const points = state.rows.filter((row) => row.dst === address && typeof row.value === 'number')
        .map((row) => ({x: row.at, y: row.value}));
    const unit = points.length ? state.rows.find((row) => row.dst === address && row.unit)?.unit : null;
    const colour = COLOURS[chart.data.datasets.length % COLOURS.length];
    const set = {label: `${address} ${entry.name || ''}`.trim(), address, unit: unit || null,
      data: points, yAxisID: axisId(unit), pointRadius: 2, borderWidth: 1.5,
      borderColor: colour, backgroundColor: colour};
    chart.data.datasets.push(set);
  }
  rebuildAxes(chart);
  $('plot-hint').hidden = state.picked.size > 0;
  chart.update('none');
}

// One y axis per unit, titled with it.
function rebuildAxes(chart) {
  const scales = {x: chart.options.scales.x};
  chart.data.datasets.forEach((set) => {
    scales[set.yAxisID] = {type: 'linear', position: Object.keys(scales).length % 2 ? 'left' : 'right',
      title: {display: true, text: set.unit || '(no unit)'}};
  });
  chart.options.scales = scales;
}

function plotPoint(row) {
  if (!state.chart || typeof row.value !== 'number') return;
  const set = state.chart.data.datasets.find((s) => s.address === row.dst);
  if (!set) return;
  if (set.unit === null && row.unit) {  // picked before its first value
    set.unit = row.unit;
    set.yAxisID = axisId(row.unit);
    rebuildAxes(state.chart);
  }
  set.data.push({x: row.at, y: row.value});
  if (set.data.length > MAX_POINTS) set.data.splice(0, set.data.length - MAX_POINTS);
}

// --- data ----------------------------------------------------------------

function add(row) {
  const arrival = new Date();
  if (!row.time) row.time = localTime(arrival);
  const parsed = Date.parse(row.time);
  row.at = Number.isNaN(parsed) ? arrival.getTime() : parsed;
  state.rows.push(row);
  if (state.rows.length > MAX_ROWS + 100) state.rows.splice(0, state.rows.length - MAX_ROWS);
  if (state.paused) state.missed++;
  if (row.apci !== 'read') {
    const entry = state.latest.get(row.dst) || {name: row.name, dpt: row.dpt};
    const before = entry.row ? valueCell(entry.row).text : null;
    entry.row = row;
    entry.name = row.name;
    entry.dpt = row.dpt;
    if (valueCell(row).text !== before) entry.changed = row.time;
    state.latest.set(row.dst, entry);
    plotPoint(row);
  }
  state.dirty = true;
}

function csv() {
  const quote = (cell) => (/[",\r\n]/.test(cell) ? `"${cell.replace(/"/g, '""')}"` : cell);
  const header = [...$('telegrams').tHead.rows[0].cells].map((th) => th.textContent);
  return [header, ...state.shown.map(cells)].map((line) => line.map(quote).join(',')).join('\r\n') +
      '\r\n';
}

function exportCsv() {
  const link = document.createElement('a');
  link.href = URL.createObjectURL(new Blob([csv()], {type: 'text/csv'}));
  link.download = `telegrams-${localTime(new Date()).replace(/[:.]/g, '-')}.csv`;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 1000);
}

async function loadGroups() {
  try {
    const response = await fetch('api/groups');
    for (const group of await response.json()) {
      if (!state.latest.has(group.address)) {
        state.latest.set(group.address, {name: group.name, dpt: group.dpt});
      }
    }
    state.dirty = true;
  } catch (error) {
    // The list is a help only: the telegrams carry names and DPTs.
  }
}

function connect() {
  const events = new EventSource('api/events');
  events.onopen = () => {
    $('status').textContent = 'live';
    $('status').className = 'live';
  };
  events.onerror = () => {
    $('status').textContent = 'reconnecting…';
    $('status').className = '';
  };
  events.onmessage = (event) => add(JSON.parse(event.data));
}

$('pause').addEventListener('click', () => {
  state.paused = !state.paused;
  state.pausedSeq = state.rows.length ? state.rows[state.rows.length - 1].seq : 0;
  state.missed = 0;
  $('pause').textContent = state.paused ? 'Resume' : 'Pause';
  state.dirty = true;
  render();
});
for (const id of ['filter', 'filter-field']) {
  $(id).addEventListener('input', () => {
    renderTable();
  });
}
$('export').addEventListener('click', exportCsv);
setInterval(render, RENDER_EVERY_MS);
loadGroups().then(connect);

// For scripts and tests: the page's state and its CSV.
window.zelMonitor = {state, csv};
