// The page as text: compared with a golden file, and checked as HTML.
import assert from 'node:assert/strict';
import {spawnSync} from 'node:child_process';
import fs from 'node:fs';
import path from 'node:path';
import {before, describe, test} from 'node:test';
import {fileURLToPath} from 'node:url';
import {work} from '../support.js';
import {problemsOf} from './checker.js';
import {page, resetState} from './state.js';

const golden = fileURLToPath(new URL('page.html', import.meta.url));

async function fetchPage() {
    const answer = await fetch(page);
    assert.equal(answer.status, 200);
    assert.equal(answer.headers.get('content-type'), 'text/html; charset=utf-8');
    return Buffer.from(await answer.arrayBuffer());
}

// Carriage returns and everything that is not ASCII in a form that a terminal shows.
const visible = (bytes) => bytes.toString('latin1')
    .replace(/[^\n\x20-\x7E]/g, (c) => c === '\r' ? '\\r' : `\\x${c.charCodeAt(0).toString(16)}`);

function difference(expected, actual) {
    const paths = ['expected', 'actual'].map((name) => path.join(work, name));
    fs.writeFileSync(paths[0], visible(expected));
    fs.writeFileSync(paths[1], visible(actual));
    const labels = ['--label', 'page.html', '--label', 'printed'];
    return spawnSync('diff', ['-u', ...labels, ...paths], {encoding: 'utf8'}).stdout;
}

describe('the page as text', () => {
    before(resetState);

    // QMV_UPDATE_GOLDEN=1 writes the golden file anew; look at what changed in it.
    test('is the golden file, byte by byte', async () => {
        const printed = await fetchPage();
        if (process.env.QMV_UPDATE_GOLDEN === '1')
            fs.writeFileSync(golden, printed);
        const expected = fs.readFileSync(golden);
        assert.ok(printed.equals(expected), `\n${difference(expected, printed)}`);
    });

    test('is the same in the next request', async () => {
        assert.ok((await fetchPage()).equals(await fetchPage()));
    });

    test('holds ASCII only', async () => {
        assert.match((await fetchPage()).toString('latin1'), /^[\r\n\x20-\x7E]*$/);
    });

    test('is good HTML but for what is intended', async () => {
        assert.deepEqual(await problemsOf((await fetchPage()).toString()), []);
    });
});
