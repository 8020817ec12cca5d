// Many requests at once to the console, one in ten of which writes. Every one is answered, nothing is
// left behind, and no value is torn: the library empties an item and writes it anew in place, so that
// a reader could find it empty for a moment, and the console's lock keeps readers away meanwhile.
// No program takes more memory than is said here.
import assert from 'node:assert/strict';
import {spawn} from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import {test} from 'node:test';
import {item, passwords, reset, setItem, site, token} from './console/support.js';
import {eventually} from './support.js';

const connections = Number(process.env.QMV_LOAD_CONNECTIONS ?? 8);
const requests = Number(process.env.QMV_LOAD_REQUESTS ?? 4000);
const server = Number(fs.readFileSync(path.join(process.env.QMV_WORK, 'pid'), 'utf8'));

// Runs wrk, which only knows durations, until it has so many answers.
async function load(count) {
    const wrk = spawn('wrk', [
        '--threads', '1', '--connections', String(connections), '--duration', '1h',
        '--timeout', '60s', '--script', new URL('load.lua', import.meta.url).pathname, site
    ], {
        stdio: ['ignore', 'pipe', 'inherit'],
        env: {
            ...process.env,
            LOAD_REQUESTS: String(count),
            LOAD_AUTHORIZATION: `Basic ${Buffer.from(`admin:${passwords.admin}`).toString('base64')}`,
            LOAD_TOKEN: await token()
        }
    });
    let output = '';
    for await (const chunk of wrk.stdout) {
        output += chunk;
        if (/^enough$/m.test(output))
            wrk.kill('SIGINT');
    }
    return Object.fromEntries([...output.matchAll(/^([a-z]+) (\d+)$/gm)].map(([, name, value]) =>
        [name, Number(value)]));
}

// Memory of the web server in KiB, and its open descriptors.
function usage() {
    const status = fs.readFileSync(`/proc/${server}/status`, 'utf8');
    return {
        memory: Number(/^VmRSS:\s+(\d+)/m.exec(status)[1]),
        descriptors: fs.readdirSync(`/proc/${server}/fd`).length
    };
}

// The most memory in KiB that a run of each program took, the pages of shared libraries included.
const maxPeak = 4096;
function peaks() {
    const most = {};
    for (const line of fs.readFileSync(path.join(process.env.QMV_WORK, 'peak'), 'utf8').split('\n')) {
        const [name, memory] = line.split(' ');
        if (name)
            most[name] = Math.max(most[name] ?? 0, Number(memory));
    }
    return most;
}

// Processes that the web server has started and that are still there.
const children = () =>
    fs.readFileSync(`/proc/${server}/task/${server}/children`, 'utf8').trim();

test(`${requests} requests over ${connections} connections`, async (context) => {
    reset();
    setItem('lan/dhcp_lease', '7');
    await load(requests / 10);  // the server takes the memory that it needs
    await eventually('all programs have ended', () => children() === '');
    const before = usage();
    const seen = await load(requests);
    const after = usage();
    context.diagnostic(`${seen.answers} answers, ${seen.writes} of them to writes; ` +
        `memory of the server ${before.memory} KiB, then ${after.memory} KiB`);
    assert.ok(seen.answers >= requests);
    assert.ok(seen.writes >= requests / 10 - connections);
    assert.equal(seen.refused, 0);
    assert.equal(seen.failed, 0);
    assert.equal(seen.broken, 0);
    assert.equal(seen.empty, 0);
    assert.equal(seen.torn, 0);
    // A program whose client has gone ends what it began; until then an item may be empty.
    await eventually('all programs have ended', () => children() === '');
    assert.match(item('lan/dhcp_lease'), /^(7|720|48)\n$/);
    assert.equal(item('lan/address'), '192.168.1.1\n');
    assert.ok(after.memory < before.memory + 2048, `${before.memory} KiB grew to ${after.memory} KiB`);
    await eventually('the server has closed what it opened',
        () => usage().descriptors <= before.descriptors + connections);
});

const measured = process.env.QMV_PRELOAD.includes('libqmv_peak.so');
test(`no program takes more than ${maxPeak} KiB`,
    {skip: measured ? false : 'a sanitizer takes a multiple'}, (context) => {
        const most = peaks();
        context.diagnostic(`most memory in KiB: ${JSON.stringify(most)}`);
        // Beside them the commands that they run.
        for (const name of ['forwards', 'hosts', 'lan', 'schedules', 'status', 'vpn'])
            assert.ok(`${name}.cgi` in most, `${name} was never run`);
        for (const [name, memory] of Object.entries(most))
            assert.ok(memory > 0 && memory <= maxPeak, `${name} took ${memory} KiB`);
    });
