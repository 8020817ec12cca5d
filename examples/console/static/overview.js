// Reads the figures again every few seconds, and draws the noise margin of the last minutes. The
// readings are kept for this tab, so that the chart is still there when the page is loaded again.
'use strict';

const interval = 3000;   // milliseconds
const keep = 200;        // readings at most: ten minutes
const fewest = 40;       // the width of the chart, in readings, while there are few
const store = 'readings';
const chart = document.getElementById('chart');
const age = document.getElementById('age');
let readings = JSON.parse(sessionStorage.getItem(store) ?? '[]');
let answered = Date.now();

async function refresh() {
    try {
        const answer = await fetch('status.cgi', {cache: 'no-store'});
        if (!answer.ok)
            throw new Error(answer.statusText);
        show(await answer.json());
        answered = Date.now();
    } catch {
        // The device may be restarting: the age of the figures tells.
    }
    const seconds = Math.round((Date.now() - answered) / 1000);
    age.textContent = seconds < 2 * interval / 1000
        ? 'Updated every few seconds.'
        : `The device has not answered for ${seconds} seconds.`;
    setTimeout(refresh, interval);
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

function addReading(figures) {
    if (!('down_margin' in figures))
        return;
    readings.push([Number(figures.down_margin), Number(figures.up_margin)]);
    readings = readings.slice(-keep);
    sessionStorage.setItem(store, JSON.stringify(readings));
    drawChart();
}

// The lines of both directions, oldest reading on the left, 0 to 20 dB.
function drawChart() {
    const last = Math.max(readings.length, fewest) - 1;
    const svg = element('svg', {viewBox: `0 0 ${last} 100`, preserveAspectRatio: 'none',
        role: 'img', 'aria-label': 'Margin of the last minutes'});
    for (const y of [0, 25, 50, 75, 100])
        svg.append(element('line', {class: 'grid', x1: 0, x2: last, y1: y, y2: y}));
    const begin = last + 1 - readings.length;
    for (const [direction, name] of ['down', 'up'].entries()) {
        const points = readings.map((reading, i) => `${begin + i},${100 - 5 * reading[direction]}`);
        svg.append(element('polyline', {class: name, points: points.join(' ')}));
    }
    const caption = document.createElement('figcaption');
    caption.append(text('key', 'Margin, download'), text('key up', 'Margin, upload'),
        text('', `last ${Math.ceil(last * interval / 60_000)} minutes, 0 to 20 dB`));
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
