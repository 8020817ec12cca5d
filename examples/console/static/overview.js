// Reads the figures again every few seconds, and draws the noise margin of the last minutes. The
// readings are kept for this tab, so that the chart is still there when the page is loaded again.
'use strict';

const interval = 3000;        // milliseconds
const span = 10 * 60_000;     // of the chart
const fewest = 2 * 60_000;    // of the chart, while there are few readings
const most = 20;              // dB
const store = 'readings';
const chart = document.getElementById('chart');
const age = document.getElementById('age');
let readings = storedReadings();
let answered = Date.now();

function storedReadings() {
    try {
        const stored = JSON.parse(sessionStorage.getItem(store));
        return stored.filter((reading) => Array.isArray(reading) && reading.length === 3);
    } catch {
        return [];  // the chart begins anew
    }
}

function storeReadings() {
    try {
        sessionStorage.setItem(store, JSON.stringify(readings));
    } catch {
        // Without storage the chart ends with the page.
    }
}

async function refresh() {
    const figures = await ask();
    if (figures) {
        answered = Date.now();
        show(figures);
    }
    const seconds = Math.round((Date.now() - answered) / 1000);
    age.textContent = figures || seconds < 2 * interval / 1000
        ? 'Updated every few seconds.'
        : `The device has not answered for ${seconds} seconds.`;
    setTimeout(refresh, interval);
}

// The figures; nothing when the device does not answer, as it may while it restarts.
async function ask() {
    try {
        const answer = await fetch('status.cgi', {signal: AbortSignal.timeout(2 * interval)});
        return answer.ok ? await answer.json() : null;
    } catch {
        return null;
    }
}

function show(figures) {
    for (const element of document.querySelectorAll('[data-figure]')) {
        const text = figures[element.dataset.figure] ?? 'unknown';
        if (element.localName === 'meter')
            showMeter(element, figures, text);
        else if (element.textContent !== text)
            element.textContent = text;
    }
    addReading(figures);
}

function showMeter(meter, figures, text) {
    if (meter.dataset.most)
        meter.max = Number(figures[meter.dataset.most]) || 1;
    meter.value = Number(text) || 0;
}

// A reading is its time and the margins of both directions, null for one that is unknown.
function addReading({down_margin: down, up_margin: up}) {
    const now = Date.now();
    const margin = (text) => text === undefined ? null : Number(text);
    readings = [...readings.filter(([time]) => now - time < span), [now, margin(down), margin(up)]];
    storeReadings();
    drawChart(now);
}

// The lines of both directions, the past on the left, 0 to 20 dB.
function drawChart(now) {
    const width = Math.max(now - readings[0][0], fewest);
    const svg = element('svg', {viewBox: '0 0 100 100', preserveAspectRatio: 'none', role: 'img',
        'aria-label': 'Margin of the last minutes'});
    for (const y of [0, 25, 50, 75, 100])
        svg.append(element('line', {class: 'grid', x1: 0, x2: 100, y1: y, y2: y}));
    for (const [direction, name] of ['down', 'up'].entries()) {
        const points = readings.filter((reading) => reading[direction + 1] !== null).map((reading) => {
            const x = 100 - 100 * (now - reading[0]) / width;
            const y = 100 - 100 * Math.min(Math.max(reading[direction + 1], 0), most) / most;
            return `${x.toFixed(2)},${y.toFixed(2)}`;
        });
        svg.append(element('polyline', {class: name, points: points.join(' ')}));
    }
    const caption = document.createElement('figcaption');
    caption.append(text('key', 'Margin, download'), text('key up', 'Margin, upload'),
        text('', `last ${Math.ceil(width / 60_000)} minutes, 0 to ${most} dB`));
    chart.replaceChildren(svg, caption);
    chart.hidden = false;
}

function element(name, attributes) {
    const made = document.createElementNS('http://www.w3.org/2000/svg', name);
    for (const [key, value] of Object.entries(attributes))
        made.setAttribute(key, value);
    return made;
}

function text(className, content) {
    const made = document.createElement('span');
    made.className = className;
    made.textContent = content;
    return made;
}

refresh();
